#include "editor/meter_view.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>

#include "editor/meter_protocol.h"
#include "editor/meter_text.h"

namespace Tannhofen::Editor {

using namespace Plx;

namespace {

constexpr double kSecondsPerMs = 0.001;

float decayRateOf(const SkinAttributes& skin) {
    const auto found = skin.find(MeterSkin::kDecay);
    if (found == skin.end()) return MeterLaw::kDefaultDecayRate;
    char* end = nullptr;
    const double f = std::strtod(found->second.c_str(), &end);
    return end == found->second.c_str() ? MeterLaw::kDefaultDecayRate : MeterLaw::decayRateFromSkin(f);
}

} // namespace

LevelMeterView::LevelMeterView(bool input, int32 firstParameterId, int32 channels, const SkinAttributes& skin)
    : MeterView(input),
      decayRate(decayRateOf(skin)),
      firstParameterId(firstParameterId),
      scaleTable(MeterLaw::makeScaleTable()) {
    horizontal = skinValue(skin, MeterSkin::kOrientation, "") == MeterSkin::kHorizontal;
    backBitmap = skinValue(skin, MeterSkin::kBackBitmap,
                           horizontal ? "bmAudioPlugMeterHorizBack" : "bmAudioPlugMeterBack");
    foreBitmap = skinValue(skin, MeterSkin::kForeBitmap,
                           horizontal ? "bmAudioPlugMeterHorizFore" : "bmAudioPlugMeterFore");
    setChannelCount(channels);
}

double LevelMeterView::platformClockMs() {
    using namespace std::chrono;
    return duration<double, std::milli>(steady_clock::now().time_since_epoch()).count();
}

void LevelMeterView::setChannelCount(int32 channels) {
    const auto n = static_cast<size_t>(std::clamp<int32>(channels, 0, kMaxMeterChannels));
    lastUpdateTimes.assign(n, 0.0);
    levels.assign(n, 0.0f);
    pending.assign(n, {});
    redraw = true;
}

bool LevelMeterView::setParamValue(int32 id, double value, double timeMs) {
    switch (id) {
    case MeterViewParam::kMeterMode:
        meterMode = static_cast<int32>(value);
        redraw = true;
        return true;
    case MeterViewParam::kPeakValue: peakValue = static_cast<float>(value); return true;
    case MeterViewParam::kScaleValue: scaleValue = static_cast<float>(value); return true;
    default: break;
    }
    const int64 channel = static_cast<int64>(id) - firstParameterId;
    if (channel < 0 || channel >= getChannelCount()) return false;
    update(static_cast<int32>(channel), static_cast<float>(value), timeMs);
    return true;
}

void LevelMeterView::update(int32 channel, float value, double timeMs) {
    if (channel < 0 || channel >= getChannelCount()) return;
    const auto c = static_cast<size_t>(channel);
    const double now = timeMs * kSecondsPerMs;
    const double dt = now - lastUpdateTimes[c];
    if (dt == 0.0) {
        if (value > pending[c].value) pending[c] = {true, value};
        return;
    }
    // A clock that went backwards, or one that isn't a number, lets no time
    // pass: the level doesn't fall, and a finite time is taken as the new start.
    const double elapsed = dt > 0.0 ? dt : 0.0;
    const float decayed = MeterLaw::decayedLevel(levels[c], decayRate, elapsed);
    if (std::isfinite(now)) lastUpdateTimes[c] = now;
    if (pending[c].set) {
        value = std::max(value, pending[c].value);
        pending[c] = {};
    }
    // NaN reads as silence; the top of the scale is the meter's maximum.
    value = std::isnan(value) ? 0.0f : std::clamp(value, 0.0f, maximumLevel);
    float level = decayed > value ? decayed : value;
    if (level < MeterLaw::kSilence) level = 0.0f;
    if (level != levels[c]) redraw = true;
    levels[c] = level;
}

void LevelMeterView::clear() {
    std::fill(levels.begin(), levels.end(), 0.0f);
    std::fill(pending.begin(), pending.end(), Pending{});
    redraw = true;
}

float LevelMeterView::getLevel(int32 channel) const {
    return channel >= 0 && channel < getChannelCount() ? levels[static_cast<size_t>(channel)] : 0.0f;
}

double LevelMeterView::getDisplayFraction(int32 channel) const {
    const float level = getLevel(channel);
    return level < minimumLevel ? 0.0 : MeterLaw::levelFraction(scaleTable, level);
}

bool LevelMeterView::takeRedraw() {
    const bool was = redraw;
    redraw = false;
    return was;
}

PeakDisplayView::PeakDisplayView(bool input, const SkinAttributes& skin, std::string units, bool showUnits)
    : MeterView(input),
      normalColour(skinValue(skin, MeterSkin::kNormalColour, kDefaultNormalColour)),
      peakColour(skinValue(skin, MeterSkin::kPeakColour, kDefaultPeakColour)),
      units(std::move(units)),
      showUnits(showUnits) {}

tresult PeakDisplayView::draw(const ParameterReader& read, PeakDrawing& out) const {
    double peak = 0.0;
    double floor = 0.0;
    if (!read || !read(MeterViewParam::kPeakValue, peak) || !read(MeterViewParam::kPeakFloor, floor))
        return kReadFailed;
    const PeakText shown = peakDisplayText(peak, floor, showUnits ? units : std::string());
    out.text = shown.text;
    out.colour = shown.overFullScale ? peakColour : normalColour;
    out.font = kFont;
    return kResultOk;
}

} // namespace Tannhofen::Editor
