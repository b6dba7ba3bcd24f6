#include "mix/mixer_controller.h"

#include <cmath>
#include <cstring>
#include <string>

#include "frame/ihostinfo.h"
#include "frame/text.h"
#include "mix/controller_tables.h"
#include "mix/mix_messages.h"
#include "mix/mix_state.h"

namespace Tannhofen::Mix {

using namespace Plx;

namespace {

constexpr double kDoubleTolerance = 2.220446049250313e-16;
constexpr int32_t kNivoraProductCodes[] = {28000, 30000};
// The buses that the processor starts with: mono in, 5.1 out.
constexpr SpeakerArrangement kFirstInput = Plx::Layout::kMono;
constexpr SpeakerArrangement kFirstOutput = Plx::Layout::k5_1;
// The level rows that follow the arrangements, in the order they are reset.
constexpr int32_t kLevelResetOrder[] = {ParamId::kLfeLevel, ParamId::kCenterLvl, ParamId::kSurroundLvl,
                                        ParamId::kTopLvl,   ParamId::kBottomLvl, ParamId::kSideLvl};

bool isOn(double value) {
    return value > 0.5;
}

// Solo tables count a mask of fewer than two speakers as a center speaker.
SpeakerArrangement soloMask(SpeakerArrangement mask) {
    return channelCount(mask) < 2 ? Speaker::C : mask;
}

} // namespace

MMixerController::MMixerController()
    : RemoteMapController(MixParamTable::instance()), model(IPtr<MMixerModel>::adopt(new MMixerModel)) {
    model->setArrangements(kFirstInput, kFirstOutput);
    model->setNotifyChanges(true);
    model->addDependent(this);
}

MMixerController::~MMixerController() {
    model->removeDependent(this);
}

tresult MMixerController::initialize(FUnknown* context) {
    IPtr<IPlxHostInfo> hostInfo = IPtr<IPlxHostInfo>::adopt(queryInterfaceOf<IPlxHostInfo>(context));
    int32_t productCode = 0;
    if (hostInfo && hostInfo->getProductCode(&productCode) == kResultOk)
        for (int32_t code : kNivoraProductCodes) isNivora = isNivora || productCode == code;

    const tresult result = MMixerBaseController::initialize(context);
    if (result != kResultOk) return result;

    using namespace EditorParamId;
    addEditorSwitch(kIsInsert, editorParamName(kIsInsert));
    addEditorSwitch(kResetFromGui, editorParamName(kResetFromGui));
    addEditorSwitch(kExpandInput, editorParamName(kExpandInput));
    addEditorSwitch(kExpandOutput, editorParamName(kExpandOutput));
    for (ParamID id : {kInputArrangement, kOutputArrangement}) {
        const std::u16string title = utf8ToUtf16(editorParamName(static_cast<int32_t>(id)));
        auto* text = new StringListParameter(title.c_str(), id, nullptr, ParameterInfo::kNoFlags);
        text->appendString(u"");
        editorParameters.addParameter(text);
    }

    inputGroups.clear();
    outputGroups.clear();
    for (const SoloGroup& group : soloGroups()) {
        inputGroups.push_back(group.inputId);
        outputGroups.push_back(group.outputId);
    }

    // Mirror the processor's first buses until it tells its own.
    SpeakerArrangement in = 0, out = 0;
    model->getArrangements(in, out);
    arrangementsChanged(in, out, true);

    writeParam(ParamId::kGlobalLvl, 0.75, false);
    model->setParamValue(ParamId::kGlobalLvl, 0.75);
    restartComponent(kParamTitlesChanged);
    return kResultOk;
}

tresult MMixerController::terminate() {
    inputGroups.clear();
    outputGroups.clear();
    return MMixerBaseController::terminate();
}

void MMixerController::afterParameters() {
    MMixerBaseController::afterParameters();
    // The output solos: the input solo rows with "Output" for "Input".
    for (int32_t index = 0; index < kSpeakerIndexCount; ++index) {
        const ParamInfoRecord* input = infoAccessor.find(ParamId::kInputSoloFirst + index);
        std::string title = input ? input->title : "";
        if (const size_t at = title.find("Input"); at != std::string::npos) title.replace(at, 5, "Output");
        const std::u16string title16 = utf8ToUtf16(title);
        parameters.addParameter(new Parameter(title16.c_str(),
                                              static_cast<ParamID>(ParamId::kOutputSoloFirst + index),
                                              nullptr, 0.0, 1, ParameterInfo::kNoFlags));
    }
}

Parameter* MMixerController::createTableParameter(const ParamInfoRecord& row) {
    if (row.type != ParamInfoRecord::kList) return MMixerBaseController::createTableParameter(row);
    // The output format: one step per entry of the list, text from the list.
    const std::u16string title = utf8ToUtf16(row.title);
    const int32_t flags = ParameterInfo::kIsList |
                          ((row.flags & ParamInfoRecord::kAutomatable) ? ParameterInfo::kCanAutomate : 0);
    return new Parameter(title.c_str(), static_cast<ParamID>(row.id), nullptr, 0.0, 0, flags);
}

tresult MMixerController::setParamNormalized(ParamID id, ParamValue value) {
    if (std::isnan(value)) return kInvalidArgument;
    Parameter* p = getParameterObject(id);
    if (!p) return MMixerBaseController::setParamNormalized(id, value);
    // The host's own value: stored, and never told back.
    p->setNormalized(value);
    const double v = p->getNormalized();
    const auto sid = static_cast<int32_t>(id);

    switch (sid) {
    case ParamId::kSoloToCenter: applyFoldSwitch(id, ParamId::kSurroundToFront, v); return kResultOk;
    case ParamId::kSurroundToFront: applyFoldSwitch(id, ParamId::kSoloToCenter, v); return kResultOk;
    case ParamId::kOutputArr: {
        const int32_t index = arrangements.indexFromNormalized(v);
        if (index >= 0) setOutputArrangement(arrangements.at(index));
        return kResultOk;
    }
    case ParamId::kActiveParts: {
        model->setParamValue(sid, v);
        const auto parts = static_cast<int32_t>(std::trunc(v * 3 + 0.5));
        writeEditorParam(EditorParamId::kExpandInput, (parts & 1) ? 1.0 : 0.0);
        writeEditorParam(EditorParamId::kExpandOutput, (parts & 2) ? 1.0 : 0.0);
        return kResultOk;
    }
    case SoloGroupId::kResetInput:
    case SoloGroupId::kResetOutput:
        if (isOn(v)) resetSolos(sid == SoloGroupId::kResetInput);
        writeParam(id, 0.0, false); // a button: it springs back
        return kResultOk;
    default: break;
    }
    if (findSoloGroup(sid)) {
        applySoloGroup(sid, isOn(v));
        return kResultOk;
    }
    // Levels, low pass, LFE level and the solos of single speakers.
    model->setParamValue(sid, v);
    updateSoloModes();
    return kResultOk;
}

void MMixerController::applyFoldSwitch(ParamID id, ParamID other, double value) {
    const bool on = std::fabs(value - 1.0) <= kDoubleTolerance;
    model->setParamValue(static_cast<int32_t>(id), on ? 1.0 : 0.0);
    if (on && getParamNormalized(other) != 0.0) writeParam(other, 0.0, true);
}

void MMixerController::applySoloGroup(int32_t id, bool on) {
    const SoloGroup* group = findSoloGroup(id);
    const bool input = isInputGroupId(id);
    const int32_t first = input ? ParamId::kInputSoloFirst : ParamId::kOutputSoloFirst;
    // Switching a group off leaves its speakers as they are.
    if (!on) return;
    for (int32_t index : group->speakers) {
        writeParam(static_cast<ParamID>(first + index), 1.0, true);
        model->setParamValue(first + index, 1.0);
    }
    writeParam(static_cast<ParamID>(id), 1.0, false);
    for (int32_t other : input ? inputGroups : outputGroups)
        if (other != id && getParamNormalized(static_cast<ParamID>(other)) != 0.0)
            writeParam(static_cast<ParamID>(other), 0.0, true);
    updateSoloModes();
}

void MMixerController::resetSolos(bool input) {
    const int32_t first = input ? ParamId::kInputSoloFirst : ParamId::kOutputSoloFirst;
    for (int32_t index = 0; index < kSpeakerIndexCount; ++index) {
        writeParam(static_cast<ParamID>(first + index), 0.0, true);
        model->setParamValue(first + index, 0.0);
    }
    for (int32_t group : input ? inputGroups : outputGroups)
        writeParam(static_cast<ParamID>(group), 0.0, true);
    updateSoloModes();
}

void MMixerController::deriveGroupStates() {
    for (const bool input : {true, false}) {
        const SpeakerArrangement mask =
            soloMask(input ? model->getInputArrangement() : model->getOutputArrangement());
        for (const SoloGroup& group : soloGroups()) {
            bool present = false;
            bool all = true;
            for (int32_t index : group.speakers) {
                if (!(mask & indexToBit(index))) continue;
                present = true;
                all = all && (input ? model->isInputSolo(index) : model->isOutputSolo(index));
            }
            // A group without speakers here keeps its state.
            if (present)
                writeParam(static_cast<ParamID>(input ? group.inputId : group.outputId), all ? 1.0 : 0.0,
                           false);
        }
    }
}

void MMixerController::updateSoloModes() {
    writeEditorParam(EditorParamId::kInInputSoloMode, model->isInSoloActive() ? 1.0 : 0.0);
    writeEditorParam(EditorParamId::kInOutputSoloMode, model->isOutSoloActive() ? 1.0 : 0.0);
}

void MMixerController::update(FUnknown* changedUnknown, int32_t message) {
    if (changedUnknown != static_cast<IDependent*>(model.get())) {
        MMixerBaseController::update(changedUnknown, message);
        return;
    }
    if (message == ModelMessage::kSoloReset) {
        // The model dropped its solos with new arrangements; so do the parameters.
        for (int32_t index = 0; index < kSpeakerIndexCount; ++index) {
            writeParam(static_cast<ParamID>(ParamId::kInputSoloFirst + index), 0.0, false);
            writeParam(static_cast<ParamID>(ParamId::kOutputSoloFirst + index), 0.0, false);
        }
        for (const SoloGroup& group : soloGroups()) {
            writeParam(static_cast<ParamID>(group.inputId), 0.0, false);
            writeParam(static_cast<ParamID>(group.outputId), 0.0, false);
        }
        updateSoloModes();
    } else if (message == ModelMessage::kSoloChanged) {
        deriveGroupStates();
    }
}

void MMixerController::arrangementsChanged(SpeakerArrangement in, SpeakerArrangement out, bool changeParams) {
    model->setArrangements(in, out);

    arrangements.clear();
    arrangements.addArrangements(keepOwnList ? in : out);
    if (Parameter* list = getParameterObject(ParamId::kOutputArr))
        list->editInfo().stepCount = arrangements.count() > 1 ? arrangements.count() - 1 : 0;

    if (changeParams)
        for (int32_t id : kLevelResetOrder) {
            const double d = model->getDefault(id);
            model->setParamValue(id, d);
            writeParam(static_cast<ParamID>(id), d, false);
        }

    refreshEditorParameters();
    restartComponent(kParamTitlesChanged);

    writeParam(ParamId::kOutputArr, arrangements.normalizedOf(arrangements.indexOf(out)), false);
    writeParam(ParamId::kSoloToCenter, 0.0, false);
    writeParam(ParamId::kSurroundToFront, 0.0, false);

    if (changeParams) {
        const double lfe = model->getDefault(ParamId::kLfeLevel);
        writeParam(ParamId::kLfeLevel, lfe, false);
        beginEdit(ParamId::kLfeLevel);
        performEdit(ParamId::kLfeLevel, getParamNormalized(ParamId::kLfeLevel));
        endEdit(ParamId::kLfeLevel);
    }
}

void MMixerController::refreshEditorParameters() {
    using namespace EditorParamId;
    const SpeakerArrangement in = model->getInputArrangement();
    const SpeakerArrangement out = model->getOutputArrangement();
    const SpeakerArrangement inSolo = soloMask(in), outSolo = soloMask(out);
    const auto sets = hasSpeakerSets();
    for (size_t i = 0; i < sets.size(); ++i) {
        writeEditorParam(static_cast<ParamID>(kHasInFirst + i), (inSolo & sets[i]) == sets[i] ? 1.0 : 0.0);
        writeEditorParam(static_cast<ParamID>(kHasOutFirst + i), (outSolo & sets[i]) == sets[i] ? 1.0 : 0.0);
    }
    for (int32_t index = 0; index < kSpeakerIndexCount; ++index) {
        const SpeakerArrangement bit = indexToBit(index);
        writeEditorParam(static_cast<ParamID>(kPushInFirst + index), (inSolo & bit) ? 1.0 : 0.0);
        writeEditorParam(static_cast<ParamID>(kPushOutFirst + index), (outSolo & bit) ? 1.0 : 0.0);
    }
    const bool lfe = model->getNumInLfe() > 0 || model->getNumOutLfe() > 0;
    writeEditorParam(kLfeVolActiveGui, lfe ? 1.0 : 0.0);
    const std::pair<ParamID, SpeakerArrangement> names[] = {{kInputArrangement, in},
                                                            {kOutputArrangement, out}};
    for (const auto& [id, mask] : names)
        if (auto* text = FCast<StringListParameter>(editorParameters.getParameter(id)))
            text->replaceString(0, utf8ToUtf16(speakerArrangementName(mask, false)).c_str());
    updateSoloModes();
}

bool MMixerController::isSoloGroupEnabled(int32_t id) const {
    const SoloGroup* group = findSoloGroup(id);
    if (!group) return false;
    return isSoloGroupAvailable(*group, isInputGroupId(id) ? model->getInputArrangement()
                                                           : model->getOutputArrangement());
}

tresult MMixerController::setOutputArrangement(SpeakerArrangement arr) {
    if (arr == model->getOutputArrangement()) return kResultFalse;
    IPtr<IMessage> message = IPtr<IMessage>::adopt(allocateMessage());
    if (message) {
        message->setMessageID(Msg::kRequestedOutputArrangement);
        if (IPlxAttributes* attributes = message->getAttributes())
            attributes->setBinary(Msg::kBinary, &arr, sizeof arr);
        sendMessage(message.get());
    }
    restartComponent(kIoChanged);
    return kResultOk;
}

tresult MMixerController::getParamStringByValue(ParamID id, ParamValue valueNormalized, char16* string) {
    if (id != static_cast<ParamID>(ParamId::kOutputArr) || !string)
        return MMixerBaseController::getParamStringByValue(id, valueNormalized, string);
    const int32_t index = arrangements.indexFromNormalized(valueNormalized);
    widenInto(string, 128, index >= 0 ? speakerArrangementName(arrangements.at(index), false) : "");
    return kResultOk;
}

tresult MMixerController::getParamValueByString(ParamID id, const char16* string,
                                                ParamValue* valueNormalized) {
    if (id != static_cast<ParamID>(ParamId::kOutputArr) || !string || !valueNormalized)
        return MMixerBaseController::getParamValueByString(id, string, valueNormalized);
    const std::string name = utf16ToUtf8(string);
    for (int32_t i = 0; i < arrangements.count(); ++i)
        if (name == speakerArrangementName(arrangements.at(i), false)) {
            *valueNormalized = arrangements.normalizedOf(i);
            return kResultOk;
        }
    return kResultFalse;
}

tresult MMixerController::notify(IMessage* message) {
    if (!message) return kInvalidArgument;
    const char* id = message->getMessageID();
    if (id && std::strcmp(id, Msg::kGraphLocation) == 0) {
        usedAsPanner = intAttribute(message, Msg::kUsedAsPanner) != 0;
        return kResultOk;
    }
    if (id && std::strcmp(id, Msg::kBusArrangements) == 0) {
        SpeakerArrangement in = 0, out = 0;
        binaryArrangement(message, Msg::kInput, in);
        binaryArrangement(message, Msg::kOutput, out);
        arrangementsChanged(in, out, intAttribute(message, Msg::kChangeParams) != 0);
        return kResultOk;
    }
    return MMixerBaseController::notify(message);
}

tresult MMixerController::setComponentState(IPlxStream* state) {
    if (!state) return kResultFalse;
    // Streams older than the processor accepts are refused here too.
    model->setDeferred(true);
    const bool read = readProcessorState(state, kMixPluginVersion);
    model->setDeferred(false);
    return read ? kResultOk : kResultFalse;
}

bool MMixerController::getParamIdByRemoteName(const char* name, int32_t& id) const {
    return mixerRemoteNameToId(name, id);
}

const char* MMixerController::getEditorName(const char* name) const {
    return mixerEditorName(name, isNivora);
}

} // namespace Tannhofen::Mix
