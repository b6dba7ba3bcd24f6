#include "mix/mix_meters.h"

#include <algorithm>
#include <cmath>

#include "mix/mix_messages.h"

namespace Tannhofen::Mix {

namespace {

constexpr double kDefaultSampleRate = 44100.0;
constexpr int32_t kMeterRate = 25; // reports per second

} // namespace

MixMeters::MixMeters() : interval(static_cast<int64_t>(kDefaultSampleRate / kMeterRate)) {}

void MixMeters::allocate(int32_t ins, int32_t outs) {
    in.peak.assign(static_cast<size_t>(ins), 0.0f);
    in.level.assign(static_cast<size_t>(ins), 0.0f);
    out.peak.assign(static_cast<size_t>(outs), 0.0f);
    out.level.assign(static_cast<size_t>(outs), 0.0f);
}

void MixMeters::release() {
    in.peak = {};
    in.level = {};
    out.peak = {};
    out.level = {};
}

void MixMeters::setSampleRate(double rate) {
    interval = static_cast<int64_t>(std::trunc(rate / kMeterRate));
}

bool MixMeters::takeWishes() {
    bool switchedOff = false;
    for (Side* side : {&in, &out}) {
        if (side->active == side->wanted) continue;
        side->active = side->wanted;
        if (side->active)
            side->max = 0.0f;
        else
            switchedOff = true;
    }
    return switchedOff;
}

void MixMeters::quiet(Side& side) {
    std::fill(side.level.begin(), side.level.end(), 0.0f);
}

void MixMeters::advance(int32_t n, Plx::IPlxParameterChanges* changes, bool force) {
    counter += n;
    if (counter >= interval || force) {
        report(changes, force);
        counter = 0;
    }
}

void MixMeters::report(Plx::IPlxParameterChanges* changes, bool force) {
    if (!changes || !(in.active || out.active || force)) return;
    auto put = [changes](int32_t id, float value) {
        int32_t index = 0;
        if (Plx::IParamValueQueue* queue = changes->addParameterData(static_cast<Plx::ParamID>(id), &index))
            queue->addPoint(0, value, &index);
    };
    auto send = [&](Side& side, int32_t first, int32_t maxId) {
        for (size_t c = 0; c < side.peak.size(); ++c) {
            if (static_cast<int32_t>(c) < MeterId::kMaxChannels)
                put(first + static_cast<int32_t>(c), side.peak[c]);
            side.peak[c] = 0.0f;
        }
        put(maxId, side.max);
    };
    send(in, MeterId::kInputPeakFirst, MeterId::kMaxInLevel);
    send(out, MeterId::kOutputPeakFirst, MeterId::kMaxOutLevel);
}

} // namespace Tannhofen::Mix
