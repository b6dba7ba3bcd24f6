#include "editor/meter_view_factory.h"

#include <algorithm>
#include <cstring>

namespace Tannhofen::Editor {

using namespace Plx;

namespace {

int64 intAttribute(IMessage* message, const char* name) {
    int64 value = 0;
    IPlxAttributes* attributes = message->getAttributes();
    if (!attributes || attributes->getInt(name, &value) != kResultOk) return 0;
    return value;
}

int32 channelCount(int64 value) {
    return static_cast<int32>(std::clamp<int64>(value, 0, kMaxMeterChannels));
}

} // namespace

MeterViewFactory::MeterViewFactory(MeterParameterIds ids, Sender sender, bool metersAreOne)
    : ids(ids), sender(std::move(sender)), metersAreOne(metersAreOne) {}

MeterView* MeterViewFactory::createView(const std::string& name, const SkinAttributes& skin) {
    std::unique_ptr<MeterView> view;
    if (name == kInputMeter || name == kOutputMeter) {
        const bool input = name == kInputMeter;
        view = std::make_unique<LevelMeterView>(input, input ? ids.inputFirst : ids.outputFirst,
                                                noOfChannelsNeeded(name), skin);
    } else if (name == kInputPeak || name == kOutputPeak) {
        view = std::make_unique<PeakDisplayView>(name == kInputPeak, skin);
    }
    if (!view) return nullptr;
    views.push_back(std::move(view));
    return views.back().get();
}

Plx::int32 MeterViewFactory::noOfChannelsNeeded(const std::string& viewName) const {
    if (viewName == kInputMeter) return getInputChannels();
    if (viewName == kOutputMeter) return getOutputChannels();
    return 0;
}

void MeterViewFactory::setChannels(int32 inputs, int32 outputs) {
    inLevels.assign(static_cast<size_t>(inputs), 0.0f);
    outLevels.assign(static_cast<size_t>(outputs), 0.0f);
    for (auto& view : views)
        if (auto* meter = dynamic_cast<LevelMeterView*>(view.get()))
            meter->setChannelCount(meter->isInput() ? inputs : outputs);
}

void MeterViewFactory::clearLevels() {
    std::fill(inLevels.begin(), inLevels.end(), 0.0f);
    std::fill(outLevels.begin(), outLevels.end(), 0.0f);
    for (auto& view : views)
        if (auto* meter = dynamic_cast<LevelMeterView*>(view.get())) meter->clear();
}

tresult MeterViewFactory::notify(IMessage* message) {
    if (!message) return kInvalidArgument;
    const char* id = message->getMessageID();
    if (!id) return kResultFalse;
    if (std::strcmp(id, MeterMsg::kNChannels) == 0) {
        setChannels(channelCount(intAttribute(message, MeterMsg::kNChannelsIn)),
                    channelCount(intAttribute(message, MeterMsg::kNChannelsOut)));
        return kResultOk;
    }
    if (std::strcmp(id, MeterMsg::kVuMetersProcessing) == 0) {
        // Only 1 means running; any other value, or none, stops the meters.
        metersProcessing = intAttribute(message, MeterMsg::kVuMetersProcessing) == 1;
        if (!metersProcessing) clearLevels();
        return kResultOk;
    }
    return kResultFalse;
}

bool MeterViewFactory::setParamValue(int32 id, double value, double timeMs) {
    if (id == MeterViewParam::kPeakFloor) {
        peakFloor = value;
        return true;
    }
    if (id == ids.maxInput || id == ids.maxOutput) {
        (id == ids.maxInput ? maxInLevel : maxOutLevel) = static_cast<float>(value);
        return true;
    }
    const bool viewParameter = id == MeterViewParam::kMeterMode || id == MeterViewParam::kPeakValue ||
                               id == MeterViewParam::kScaleValue;
    bool taken = false;
    for (bool input : {true, false}) {
        const int64 channel = static_cast<int64>(id) - (input ? ids.inputFirst : ids.outputFirst);
        std::vector<float>& levels = input ? inLevels : outLevels;
        if (channel < 0 || channel >= static_cast<int64>(levels.size())) continue;
        taken = true;
        if (!metersProcessing) continue;
        levels[static_cast<size_t>(channel)] = static_cast<float>(value);
        for (auto& view : views)
            if (auto* meter = dynamic_cast<LevelMeterView*>(view.get()); meter && meter->isInput() == input)
                meter->update(static_cast<int32>(channel), static_cast<float>(value), timeMs);
    }
    if (viewParameter) {
        for (auto& view : views)
            if (auto* meter = dynamic_cast<LevelMeterView*>(view.get()))
                meter->setParamValue(id, value, timeMs);
        return true;
    }
    return taken;
}

tresult MeterViewFactory::click(const MeterView* view) {
    const bool ours = std::any_of(views.begin(), views.end(), [view](auto& v) { return v.get() == view; });
    if (!view || !ours || !dynamic_cast<const PeakDisplayView*>(view)) return kResultFalse;
    const bool resetOutput = !view->isInput() && !metersAreOne;
    if (!sender) return kResultFalse;
    return sender(resetOutput ? MeterMsg::kResetMaxLevelOut : MeterMsg::kResetMaxLevelIn);
}

bool MeterViewFactory::readParameter(bool input, int32 id, double& value) const {
    if (id == MeterViewParam::kPeakValue) {
        value = input ? maxInLevel : maxOutLevel;
        return true;
    }
    if (id == MeterViewParam::kPeakFloor) {
        value = peakFloor;
        return true;
    }
    return false;
}

tresult MeterViewFactory::drawPeak(const PeakDisplayView& view, PeakDrawing& out) const {
    const bool input = view.isInput();
    return view.draw([this, input](int32 id, double& value) { return readParameter(input, id, value); }, out);
}

} // namespace Tannhofen::Editor
