#include "mix/mixer_base_controller.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "frame/text.h"
#include "mix/controller_tables.h"
#include "mix/log_scale.h"
#include "mix/mix_messages.h"
#include "mix/mix_state.h"
#include "mix/mixer_model.h"

namespace Tannhofen::Mix {

using namespace Plx;

namespace {

// The rows shown in decibels: the levels and the LFE level.
bool isDecibelId(ParamID id) {
    switch (static_cast<int32_t>(id)) {
    case ParamId::kCenterLvl:
    case ParamId::kSurroundLvl:
    case ParamId::kGlobalLvl:
    case ParamId::kSideLvl:
    case ParamId::kTopLvl:
    case ParamId::kBottomLvl:
    case ParamId::kLfeLevel: return true;
    default: return false;
    }
}

// A number at the start of `text`, after blanks; false when there is none.
bool parseNumber(const char16* text, double& value) {
    const std::string utf8 = utf16ToUtf8(text);
    const char* begin = utf8.c_str();
    char* end = nullptr;
    value = std::strtod(begin, &end);
    return end != begin && !std::isnan(value);
}

} // namespace

int64_t MMixerBaseController::intAttribute(IMessage* message, const char* name) {
    int64_t value = 0;
    IPlxAttributes* attributes = message->getAttributes();
    if (!attributes || attributes->getInt(name, &value) != kResultOk) return 0;
    return value;
}

bool MMixerBaseController::binaryArrangement(IMessage* message, const char* name, SpeakerArrangement& arr) {
    const void* data = nullptr;
    uint32_t size = 0;
    IPlxAttributes* attributes = message->getAttributes();
    if (!attributes || attributes->getBinary(name, &data, &size) != kResultOk || !data || size != sizeof arr)
        return false;
    std::memcpy(&arr, data, sizeof arr);
    return true;
}

MMixerBaseController::MMixerBaseController(const ParamTable& table) : infoAccessor(table) {
    parameterTable.reserve(static_cast<size_t>(infoAccessor.count()));
    for (int32_t i = 0; i < infoAccessor.count(); ++i) parameterTable.push_back(infoAccessor.row(i));
}

MMixerBaseController::~MMixerBaseController() = default;

tresult MMixerBaseController::initialize(FUnknown* context) {
    const tresult result = EditController2::initialize(context);
    if (result != kResultOk) return result;
    using namespace EditorParamId;
    for (ParamID id = kHasInFirst; id < static_cast<ParamID>(kPushOutFirst + kSpeakerIndexCount); ++id)
        addEditorSwitch(id, editorParamName(static_cast<int32_t>(id)));
    addEditorSwitch(kInInputSoloMode, editorParamName(kInInputSoloMode));
    addEditorSwitch(kInOutputSoloMode, editorParamName(kInOutputSoloMode));
    addEditorSwitch(kLfeVolActiveGui, editorParamName(kLfeVolActiveGui));
    parameterCount = parameters.getParameterCount();
    return kResultOk;
}

tresult MMixerBaseController::terminate() {
    if (gainView) setGainView(nullptr);
    return EditController2::terminate();
}

void MMixerBaseController::afterParameters() {
    if (const ParamInfoRecord* extra = infoAccessor.extraRow())
        if (Parameter* p = createTableParameter(*extra)) parameters.addParameter(p);
}

namespace {

// Where the processor's saved values go: through the controller's own
// parameter handling, as if the host had set them.
class StateTarget final : public IParamSetPlainValue {
public:
    StateTarget(MMixerBaseController& controller, const ParamTable& table, int32_t minimumVersion)
        : controller(controller), table(table), minimumVersion(minimumVersion) {}
    bool setVersion(int32_t version) override { return version >= minimumVersion; }
    void setPlainValue(int32_t id, double plain) override {
        const double normalized = table.toNormalized(id, plain);
        if (normalized >= 0.0) controller.setParamNormalized(static_cast<ParamID>(id), normalized);
    }
    void setString(int32_t, const std::string&) override {}

private:
    MMixerBaseController& controller;
    const ParamTable& table;
    int32_t minimumVersion;
};

} // namespace

bool MMixerBaseController::readProcessorState(IPlxStream* state, int32_t minimumVersion) {
    if (!state) return false;
    StateTarget target(*this, infoAccessor, minimumVersion);
    return readMixParams(state, target) != StateRead::Refused;
}

void MMixerBaseController::addEditorSwitch(ParamID id, const char* name) {
    const std::u16string title = utf8ToUtf16(name ? name : "");
    editorParameters.addParameter(new Parameter(title.c_str(), id, nullptr, 0.0, 1, ParameterInfo::kNoFlags));
}

ParamValue MMixerBaseController::tableToPlain(ParamID id, ParamValue valueNormalized) const {
    return infoAccessor.toPlain(static_cast<int32_t>(id), valueNormalized);
}

ParamValue MMixerBaseController::tableToNormalized(ParamID id, ParamValue plainValue) const {
    return infoAccessor.toNormalized(static_cast<int32_t>(id), plainValue);
}

ParamValue MMixerBaseController::normalizedParamToPlain(ParamID id, ParamValue valueNormalized) {
    if (isDecibelId(id) || infoAccessor.find(static_cast<int32_t>(id)))
        return tableToPlain(id, valueNormalized);
    return EditController2::normalizedParamToPlain(id, valueNormalized);
}

ParamValue MMixerBaseController::plainParamToNormalized(ParamID id, ParamValue plainValue) {
    if (isDecibelId(id) || infoAccessor.find(static_cast<int32_t>(id)))
        return std::clamp(tableToNormalized(id, plainValue), 0.0, 1.0);
    return EditController2::plainParamToNormalized(id, plainValue);
}

tresult MMixerBaseController::getParamStringByValue(ParamID id, ParamValue valueNormalized, char16* string) {
    if (!string) return kInvalidArgument;
    if (!getParameterObject(id)) return kResultFalse;
    char text[128] = {};
    if (isDecibelId(id)) {
        std::snprintf(text, sizeof text, "%.2f", tableToPlain(id, valueNormalized));
    } else if (const ParamInfoRecord* row = infoAccessor.find(static_cast<int32_t>(id))) {
        // The row's own printf text, which takes one double.
        std::snprintf(text, sizeof text, row->format, tableToPlain(id, valueNormalized));
    } else {
        return EditController2::getParamStringByValue(id, valueNormalized, string);
    }
    widenInto(string, 128, text);
    return kResultOk;
}

tresult MMixerBaseController::getParamValueByString(ParamID id, const char16* string,
                                                    ParamValue* valueNormalized) {
    if (!string || !valueNormalized) return kInvalidArgument;
    if (!getParameterObject(id)) return kResultFalse;
    if (!isDecibelId(id) && !infoAccessor.find(static_cast<int32_t>(id)))
        return EditController2::getParamValueByString(id, string, valueNormalized);
    double plain = 0.0;
    if (!parseNumber(string, plain)) return kResultFalse;
    *valueNormalized = plainParamToNormalized(id, plain);
    return kResultOk;
}

tresult MMixerBaseController::setParamNormalized(ParamID id, ParamValue value) {
    const auto inFirst = static_cast<ParamID>(MeterId::kInputPeakFirst);
    const auto outFirst = static_cast<ParamID>(MeterId::kOutputPeakFirst);
    const auto span = static_cast<ParamID>(MeterId::kMaxChannels);
    const float level = static_cast<float>(value);
    if (id >= inFirst && id < inFirst + span) {
        if (id - inFirst < inLevels.size()) inLevels[id - inFirst] = level;
    } else if (id >= outFirst && id < outFirst + span) {
        if (id - outFirst < outLevels.size()) outLevels[id - outFirst] = level;
    } else if (id == static_cast<ParamID>(MeterId::kMaxInLevel)) {
        maxInLevel = level;
    } else if (id == static_cast<ParamID>(MeterId::kMaxOutLevel)) {
        maxOutLevel = level;
    } else {
        return EditController2::setParamNormalized(id, value);
    }
    updateMeters();
    return kResultOk;
}

tresult MMixerBaseController::notify(IMessage* message) {
    if (!message) return kInvalidArgument;
    const char* id = message->getMessageID();
    if (!id) return EditController2::notify(message);

    if (std::strcmp(id, Msg::kGainMatrix) == 0) {
        const int64_t size = intAttribute(message, Msg::kMatrixSize);
        const void* data = nullptr;
        uint32_t bytes = 0;
        IPlxAttributes* attributes = message->getAttributes();
        if (!attributes || attributes->getBinary(Msg::kCoefficients, &data, &bytes) != kResultOk || !data)
            bytes = 0;
        const int64_t count = std::clamp<int64_t>(size, 0, bytes / sizeof(float));
        gains.resize(static_cast<size_t>(count));
        if (count > 0) std::memcpy(gains.data(), data, static_cast<size_t>(count) * sizeof(float));
        if (gainView) gainView->showGains(gains.data(), static_cast<int32_t>(gains.size()));
        return kResultOk;
    }
    if (std::strcmp(id, Msg::kRestartComponent) == 0)
        return restartComponent(static_cast<int32_t>(intAttribute(message, Msg::kFlags)));
    if (std::strcmp(id, Msg::kNChannels) == 0) {
        auto count = [&](const char* name) {
            return static_cast<size_t>(
                std::clamp<int64_t>(intAttribute(message, name), 0, MeterId::kMaxChannels));
        };
        inLevels.assign(count(Msg::kNChannelsIn), 0.0f);
        outLevels.assign(count(Msg::kNChannelsOut), 0.0f);
        updateMeters();
        return kResultOk;
    }
    if (std::strcmp(id, Msg::kVuMetersProcessing) == 0) {
        processing = intAttribute(message, Msg::kVuMetersProcessing) != 0;
        if (!processing) {
            std::fill(inLevels.begin(), inLevels.end(), 0.0f);
            std::fill(outLevels.begin(), outLevels.end(), 0.0f);
            updateMeters();
        }
        return kResultOk;
    }
    return EditController2::notify(message);
}

bool MMixerBaseController::getParamIdByRemoteName(const char* name, int32_t& id) const {
    return baseRemoteNameToId(name, id);
}

const char* MMixerBaseController::getEditorName(const char*) const {
    return nullptr;
}

void MMixerBaseController::setGainView(IGainView* view) {
    const bool had = gainView != nullptr;
    gainView = view;
    if (had != (view != nullptr)) enableDirectMonitoring(view != nullptr);
    if (view && !gains.empty()) view->showGains(gains.data(), static_cast<int32_t>(gains.size()));
}

bool MMixerBaseController::writeParam(ParamID id, double value, bool tellHost) {
    Parameter* p = getParameterObject(id);
    if (!p) return false;
    const bool changed = p->setNormalized(value);
    if (tellHost && changed) {
        beginEdit(id);
        performEdit(id, p->getNormalized());
        endEdit(id);
    }
    return changed;
}

bool MMixerBaseController::writeEditorParam(ParamID id, double value) {
    Parameter* p = editorParameters.getParameter(id);
    return p && p->setNormalized(value);
}

tresult MMixerBaseController::sendIntMessage(const char* id, const char* attribute, int64_t value) {
    IPtr<IMessage> message = IPtr<IMessage>::adopt(allocateMessage());
    if (!message) return kResultFalse;
    message->setMessageID(id);
    if (attribute) {
        IPlxAttributes* attributes = message->getAttributes();
        if (!attributes || attributes->setInt(attribute, value) != kResultOk) return kResultFalse;
    }
    return sendMessage(message.get());
}

tresult MMixerBaseController::setInputVuMeter(bool on) {
    return sendIntMessage(Msg::kInputVuMeter, Msg::kInputVuMeter, on ? 1 : 0);
}

tresult MMixerBaseController::setOutputVuMeter(bool on) {
    return sendIntMessage(Msg::kOutputVuMeter, Msg::kOutputVuMeter, on ? 1 : 0);
}

tresult MMixerBaseController::resetMaxLevelIn() {
    return sendIntMessage(Msg::kResetMaxLevelIn, nullptr, 0);
}

tresult MMixerBaseController::resetMaxLevelOut() {
    return sendIntMessage(Msg::kResetMaxLevelOut, nullptr, 0);
}

tresult MMixerBaseController::enableDirectMonitoring(bool on) {
    return sendIntMessage(Msg::kEnableDirectMonitoring, Msg::kEnableDirectMonitoring, on ? 1 : 0);
}

} // namespace Tannhofen::Mix
