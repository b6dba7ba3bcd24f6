#include "ambi/ambi_bin_controller.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

#include "ambi/ambi_messages.h"
#include "ambi/ambi_params.h"
#include "ambi/ambi_state.h"
#include "ambi/decoder_arrangements.h"
#include "ambi/level_law.h"
#include "frame/icomponenthandler.h"
#include "frame/ifileselector.h"
#include "frame/ihostapplication.h"
#include "frame/speaker_arrangement.h"
#include "frame/streamer.h"
#include "frame/text.h"

namespace Tannhofen::AmbiBin {

using namespace Plx;

namespace {

constexpr const char16* kDegreeSuffix = u" \u00B0";
constexpr const char* kSelectSofaText = "Select SOFA File";
constexpr const char* kProfilePrefix = "IMMERSE Profile: ";
constexpr int32 kFlagsOfState =
    ParameterInfo::kCanAutomate | ParameterInfo::kIsReadOnly | ParameterInfo::kIsWrapAround;

enum class ControlKind { Toggle, Text, Menu };

struct ControlRow {
    const char* tag;
    ParamID id;
    ControlKind kind;
    double initial;
};

// The editor's controls, in the order initialize makes them.
constexpr ControlRow kControls[] = {
    {"modeStandard", ControlId::kModeStandard, ControlKind::Toggle, 1},
    {"modeFacebook", ControlId::kModeFacebook, ControlKind::Toggle, 0},
    {"modeYoutube", ControlId::kModeYoutube, ControlKind::Toggle, 0},
    {"modeSofa", ControlId::kModeSofa, ControlKind::Toggle, 0},
    {"modeImmerse", ControlId::kModeImmerse, ControlKind::Toggle, 0},
    {"loadSofa", ControlId::kLoadSofa, ControlKind::Toggle, 0},
    {"decoderModeString", ControlId::kDecoderModeString, ControlKind::Text, 0},
    {"sofaFileNameString", ControlId::kSofaFileNameString, ControlKind::Text, 0},
    {"immerseMsgString", ControlId::kImmerseMsgString, ControlKind::Text, 0},
    {"immerseAlert", ControlId::kImmerseAlert, ControlKind::Toggle, 0},
    {"sofaSelectorMenu", ControlId::kSofaSelectorMenu, ControlKind::Menu, 0},
    {"guiShowAuxGain", ControlId::kGuiShowAuxGain, ControlKind::Toggle, 0},
    {"guiShowBinauralModeSelection", ControlId::kGuiShowBinauralModeSelection, ControlKind::Toggle, 0},
    {"guiShowNotCompatible", ControlId::kGuiShowNotCompatible, ControlKind::Toggle, 0},
    {"stereoModeBinaural", ControlId::kStereoModeBinaural, ControlKind::Toggle, 1},
    {"stereoModeSpeaker", ControlId::kStereoModeSpeaker, ControlKind::Toggle, 0},
};

struct RemoteName {
    const char* name;
    int32_t id;
};
constexpr RemoteName kRemoteNames[] = {{"lfeLevel", ParamId::kLfeGain},
                                       {"outputArrangement", ParamId::kOutputArr},
                                       {"lowPassFilter", ParamId::kLfeLowPass},
                                       {"auxGain", ParamId::kAuxGain},
                                       {"yaw", ParamId::kYaw},
                                       {"pitch", ParamId::kPitch},
                                       {"roll", ParamId::kRoll},
                                       {"headTrackingEnabled", ParamId::kHeadTracking},
                                       {"focusOn", ParamId::kFocusOn}};

struct ViewName {
    const char* editorName;
    const char* templateName;
};
constexpr ViewName kViews[] = {{"editor", "AmbibinView"},
                               {"MixerMixMorphCR", "AmbibinControlRoomView"},
                               {"MixerRadialPannerBig", "AmbibinDynamic"},
                               {"MixerRadialPannerDynamic", "AmbibinDynamic"}};

bool isOn(double v) {
    return v >= 0.5;
}

bool endsWithIgnoringCase(const std::string& text, const std::string& end) {
    if (text.size() < end.size()) return false;
    return std::equal(end.rbegin(), end.rend(), text.rbegin(), [](char a, char b) {
        return std::tolower(static_cast<unsigned char>(a)) == std::tolower(static_cast<unsigned char>(b));
    });
}

bool isDegreeId(ParamID id) {
    switch (static_cast<int32_t>(id)) {
    case ParamId::kYaw:
    case ParamId::kPitch:
    case ParamId::kRoll:
    case ParamId::kFocusAzimuth:
    case ParamId::kFocusElevation:
    case ParamId::kFocusSize: return true;
    default: return false;
    }
}

bool isLevelId(ParamID id) {
    return id == static_cast<ParamID>(ParamId::kAuxGain) || id == static_cast<ParamID>(ParamId::kLfeGain);
}

bool isMeterId(ParamID id) {
    const auto v = static_cast<int32_t>(id);
    return (v >= ParamId::kOutputMeterFirst && v < ParamId::kOutputMeterFirst + ParamId::kOutputMeterCount) ||
           v == ParamId::kOutputMeterMax ||
           (v >= ParamId::kInputMeterFirst && v < ParamId::kInputMeterFirst + ParamId::kInputMeterCount) ||
           v == ParamId::kInputMeterMax;
}

bool isRotationId(ParamID id) {
    return id == static_cast<ParamID>(ParamId::kYaw) || id == static_cast<ParamID>(ParamId::kPitch) ||
           id == static_cast<ParamID>(ParamId::kRoll);
}

void writeText(char16* out, const std::u16string& text) {
    copyBounded16(out, 128, text.c_str());
}

void writeText(char16* out, const char* format, double value) {
    char text[64];
    std::snprintf(text, sizeof text, format, value);
    widenInto(out, 128, text);
}

// The number at the start of a text, after blanks; "-oo" and "-inf" are -infinity.
bool leadingNumber(const char16* text, double& value) {
    std::string utf8 = utf16ToUtf8(text);
    const size_t start = utf8.find_first_not_of(" \t");
    if (start == std::string::npos) return false;
    utf8.erase(0, start);
    if (utf8.rfind("-oo", 0) == 0 || utf8.rfind("-inf", 0) == 0) {
        value = -HUGE_VAL;
        return true;
    }
    char* end = nullptr;
    value = std::strtod(utf8.c_str(), &end);
    return end != utf8.c_str() && !std::isnan(value);
}

std::u16string arrangementName(SpeakerArrangement arrangement) {
    return utf8ToUtf16(speakerArrangementName(arrangement, false));
}

} // namespace

AmbiBinController::AmbiBinController() : tracker(*this) {}

// ---- set-up -----------------------------------------------------------------

std::span<const ParamInfoRecord> AmbiBinController::getParamTable() const {
    return ambiParamTable();
}

Parameter* AmbiBinController::createTableParameter(const ParamInfoRecord& row) {
    const std::u16string title = utf8ToUtf16(row.title);
    const std::u16string shortTitle = utf8ToUtf16(row.name);
    const std::u16string units = utf8ToUtf16(row.units);
    const auto id = static_cast<ParamID>(row.id);
    const int32 flags = hostFlagsOf(row);
    Parameter* p = nullptr;
    switch (row.type) {
    case ParamInfoRecord::kFloat:
        p = new RangeParameter(title.c_str(), id, units.c_str(), row.min, row.max,
                               row.min + row.defaultNormalized * (row.max - row.min), 0, flags, kRootUnitId,
                               shortTitle.c_str());
        break;
    case ParamInfoRecord::kList:
        // One step per output; the default is the last entry of the list.
        p = new Parameter(title.c_str(), id, nullptr, 1.0, kDecoderOutputCount - 1,
                          flags | ParameterInfo::kIsList, kRootUnitId, shortTitle.c_str());
        break;
    default:
        p = new Parameter(title.c_str(), id, units.c_str(), row.defaultNormalized >= 0.5 ? 1.0 : 0.0, 1,
                          flags, kRootUnitId, shortTitle.c_str());
        break;
    }
    p->setPrecision(row.precision);
    return p;
}

tresult AmbiBinController::initialize(FUnknown* context) {
    const tresult result = EditController2::initialize(context);
    if (result != kResultOk) return result;
    if (IPtr<IPlxHostApplication> app =
            IPtr<IPlxHostApplication>::adopt(queryInterfaceOf<IPlxHostApplication>(context))) {
        char16 name[128] = {};
        if (app->getName(name) == kResultOk) hostKestra = endsWithIgnoringCase(utf16ToUtf8(name), "kestra");
    }
    for (const ControlRow& row : kControls) {
        const std::u16string tag = utf8ToUtf16(row.tag);
        const int32 steps = row.kind == ControlKind::Toggle ? 1 : 0;
        editorParameters.addParameter(
            new Parameter(tag.c_str(), row.id, nullptr, row.initial, steps, ParameterInfo::kNoFlags));
        if (row.kind == ControlKind::Text) texts[row.id] = u"";
    }
    texts[ControlId::kSofaFileNameString] = utf8ToUtf16(kSelectSofaText);
    // No file and no profile yet: the modes that need one are disabled.
    setEnabled(ControlId::kModeSofa, false);
    setEnabled(ControlId::kModeImmerse, false);
    updateRotationFlags();
    updateFocusEnabling();
    rebuildMenu();
    tracker.connect(context);
    return kResultOk;
}

tresult AmbiBinController::terminate() {
    tracker.disconnect();
    texts.clear();
    menu.clear();
    return EditController2::terminate();
}

Parameter* AmbiBinController::getParameterObject(ParamID id) {
    if (Parameter* p = parameters.getParameter(id)) return p;
    return editorParameters.getParameter(id);
}

// ---- values and text ----------------------------------------------------------

int32_t AmbiBinController::outputIndexOf(double value) {
    const double v = std::clamp(std::isnan(value) ? 1.0 : value, 0.0, 1.0);
    return static_cast<int32_t>(std::lround(v * (kDecoderOutputCount - 1)));
}

double AmbiBinController::outputValueOf(int32_t index) {
    return static_cast<double>(index) / (kDecoderOutputCount - 1);
}

tresult AmbiBinController::getParamStringByValue(ParamID id, ParamValue v, char16* string) {
    if (!string) return kInvalidArgument;
    Parameter* p = getParameterObject(id);
    if (!p) return kResultFalse;
    const auto sid = static_cast<int32_t>(id);
    if (isDegreeId(id)) {
        p->toString(v, string);
        const std::u16string text = std::u16string(string) + kDegreeSuffix;
        writeText(string, text);
    } else if (isLevelId(id) || sid == ParamId::kFocusAttenuation) {
        const double db = sid == ParamId::kFocusAttenuation ? attenuationDecibels(v) : levelDecibels(v);
        if (std::isinf(db))
            widenInto(string, 128, "-oo dB");
        else
            writeText(string, "%.2f dB", db);
    } else if (sid == ParamId::kOutputArr) {
        writeText(string, arrangementName(decoderOutputs()[static_cast<size_t>(outputIndexOf(v))]));
    } else if (isMeterId(id)) {
        writeText(string, "%.1f", meterDecibels(v));
    } else if (auto text = texts.find(id); text != texts.end()) {
        writeText(string, text->second);
    } else if (sid == ControlId::kSofaSelectorMenu) {
        const size_t last = menu.empty() ? 0 : menu.size() - 1;
        const auto position =
            static_cast<size_t>(std::lround(std::clamp(v, 0.0, 1.0) * static_cast<double>(last)));
        writeText(string, position < menu.size() ? menu[position].text : u"");
    } else {
        p->toString(v, string);
    }
    return kResultOk;
}

tresult AmbiBinController::getParamValueByString(ParamID id, const char16* string,
                                                 ParamValue* valueNormalized) {
    if (!string || !valueNormalized) return kInvalidArgument;
    Parameter* p = getParameterObject(id);
    if (!p) return kResultFalse;
    const auto sid = static_cast<int32_t>(id);
    double number = 0;
    if (isLevelId(id) || sid == ParamId::kFocusAttenuation) {
        if (!leadingNumber(string, number)) return kResultFalse;
        *valueNormalized =
            sid == ParamId::kFocusAttenuation ? attenuationFromDecibels(number) : levelFromDecibels(number);
        return kResultOk;
    }
    if (sid == ParamId::kOutputArr) {
        const std::string name = utf16ToUtf8(string);
        for (int32_t i = 0; i < kDecoderOutputCount; ++i)
            if (name == speakerArrangementName(decoderOutputs()[static_cast<size_t>(i)], false)) {
                *valueNormalized = outputValueOf(i);
                return kResultOk;
            }
        return kResultFalse;
    }
    if (isMeterId(id)) {
        if (!leadingNumber(string, number)) return kResultFalse;
        *valueNormalized = plainParamToNormalized(id, number);
        return kResultOk;
    }
    return p->fromString(string, *valueNormalized) ? kResultOk : kResultFalse;
}

ParamValue AmbiBinController::normalizedParamToPlain(ParamID id, ParamValue v) {
    if (isMeterId(id)) return meterDecibels(v);
    if (id == static_cast<ParamID>(ParamId::kOutputArr)) return outputIndexOf(v);
    return EditController2::normalizedParamToPlain(id, v);
}

ParamValue AmbiBinController::plainParamToNormalized(ParamID id, ParamValue plain) {
    if (isMeterId(id)) {
        if (!(plain > kMeterFloorDecibels)) return 0.0;
        return std::pow(10.0, std::min(plain, kMeterTopDecibels) / 20.0);
    }
    if (id == static_cast<ParamID>(ParamId::kOutputArr))
        return outputValueOf(
            std::clamp(static_cast<int32_t>(std::lround(plain)), 0, kDecoderOutputCount - 1));
    return EditController2::plainParamToNormalized(id, plain);
}

std::u16string AmbiBinController::controlText(ParamID id) {
    char16 text[128] = {};
    if (getParamStringByValue(id, getParamNormalized(id), text) != kResultOk) return u"";
    return text;
}

bool AmbiBinController::isEnabled(ParamID id) {
    Parameter* p = getParameterObject(id);
    return p && !(p->getInfo().flags & ParameterInfo::kIsReadOnly);
}

bool AmbiBinController::writeValue(ParamID id, double value) {
    Parameter* p = getParameterObject(id);
    return p && p->setNormalized(value);
}

void AmbiBinController::editParam(ParamID id, double value) {
    beginEdit(id);
    writeValue(id, value);
    performEdit(id, getParamNormalized(id));
    endEdit(id);
}

void AmbiBinController::setText(ParamID id, const std::u16string& text) {
    texts[id] = text;
}

void AmbiBinController::restart(int32 flags) {
    if (!loading) restartComponent(flags);
}

// ---- enabling -----------------------------------------------------------------

int32 AmbiBinController::enabledFlags(ParamID id) const {
    const ParamInfoRecord* row = findAmbiParam(static_cast<int32_t>(id));
    int32 flags = row ? hostFlagsOf(*row) & ~ParameterInfo::kIsReadOnly : 0;
    // The rotation is automated unless the tracker drives it.
    if (isRotationId(id) && tracker.mode != HeadTrackerLink::kTracking) flags |= ParameterInfo::kCanAutomate;
    return flags;
}

bool AmbiBinController::setEnabled(ParamID id, bool enabled) {
    Parameter* p = getParameterObject(id);
    if (!p) return false;
    int32& flags = p->editInfo().flags;
    const int32 kept = flags & ~kFlagsOfState;
    // Disabled: read-only, neither automated nor wrapping around; the angles
    // the tracker drives keep wrapping around.
    int32 disabled = ParameterInfo::kIsReadOnly;
    if (isRotationId(id)) disabled |= enabledFlags(id) & ParameterInfo::kIsWrapAround;
    const int32 next = kept | (enabled ? enabledFlags(id) : disabled);
    if (next == flags) return false;
    flags = next;
    return true;
}

bool AmbiBinController::updateRotationFlags() {
    // While the tracker drives them the three angles are read-only.
    const bool free = tracker.mode != HeadTrackerLink::kTracking;
    bool changed = false;
    for (int32_t id : {ParamId::kYaw, ParamId::kPitch, ParamId::kRoll})
        changed = setEnabled(static_cast<ParamID>(id), free) || changed;
    return changed;
}

bool AmbiBinController::updateFocusEnabling() {
    const bool on = isOn(getParamNormalized(ParamId::kFocusOn));
    const bool follow = isOn(getParamNormalized(ParamId::kFocusFollow));
    bool changed = false;
    for (int32_t id : {ParamId::kFocusSize, ParamId::kFocusAttenuation, ParamId::kFocusFollow})
        changed = setEnabled(static_cast<ParamID>(id), on) || changed;
    // The direction is the head's own while the focus follows it.
    for (int32_t id : {ParamId::kFocusAzimuth, ParamId::kFocusElevation})
        changed = setEnabled(static_cast<ParamID>(id), on && !follow) || changed;
    return changed;
}

// ---- reactions ----------------------------------------------------------------

tresult AmbiBinController::setParamNormalized(ParamID id, ParamValue value) {
    if (std::isnan(value)) return kInvalidArgument;
    Parameter* p = getParameterObject(id);
    if (!p) return kResultFalse;
    const bool control = !parameters.getParameter(id);
    if (control && (p->getInfo().flags & ParameterInfo::kIsReadOnly)) return kResultFalse;
    const double before = p->getNormalized();
    p->setNormalized(value);
    react(id, p->getNormalized(), before);
    return kResultOk;
}

void AmbiBinController::react(ParamID id, double v, double before) {
    switch (static_cast<int32_t>(id)) {
    case ParamId::kOutputArr: {
        const int32_t index = outputIndexOf(v);
        const SpeakerArrangement arrangement = decoderOutputs()[static_cast<size_t>(index)];
        writeValue(id, outputValueOf(index));
        if (arrangement == requestedArrangement || loading) return;
        sendArrangementRequest(arrangement);
        restart(kIoChanged);
        return;
    }
    case ParamId::kHeadTracking:
        tracker.mode = isOn(v) ? HeadTrackerLink::kTracking : HeadTrackerLink::kOff;
        if (updateRotationFlags()) restart(kParamTitlesChanged);
        return;
    case ParamId::kFocusOn:
        if (updateFocusEnabling()) restart(kParamTitlesChanged);
        return;
    case ParamId::kFocusFollow: {
        const bool changed = updateFocusEnabling();
        // Following the head, the focus looks straight ahead.
        if (isOn(v) && !loading) {
            editParam(ParamId::kFocusAzimuth, 0.5);
            editParam(ParamId::kFocusElevation, 0.5);
        }
        if (changed) restart(kParamTitlesChanged);
        return;
    }
    case ControlId::kStereoModeBinaural:
    case ControlId::kStereoModeSpeaker:
        if (isOn(v) && id != stereoTag)
            selectStereoMode(id, true);
        else if (!isOn(v) && id == stereoTag)
            writeValue(id, 1.0); // the mode in force can't be switched off, only replaced
        return;
    case ControlId::kModeStandard:
    case ControlId::kModeYoutube:
    case ControlId::kModeSofa:
    case ControlId::kModeFacebook:
    case ControlId::kModeImmerse:
        if (isOn(v) && !isOn(before))
            selectHrirMode(id, true);
        else if (!isOn(v) && id == modeTag)
            writeValue(id, 1.0);
        return;
    case ControlId::kLoadSofa:
        if (isOn(v)) loadSofaFile();
        writeValue(id, 0.0);
        return;
    case ControlId::kSofaSelectorMenu: {
        const size_t last = menu.empty() ? 0 : menu.size() - 1;
        selectMenuEntry(static_cast<size_t>(std::lround(v * static_cast<double>(last))));
        writeValue(id, 0.0);
        return;
    }
    default: return;
    }
}

void AmbiBinController::selectStereoMode(ParamID tag, bool send) {
    stereoTag = tag;
    writeValue(ControlId::kStereoModeBinaural, tag == ControlId::kStereoModeBinaural ? 1.0 : 0.0);
    writeValue(ControlId::kStereoModeSpeaker, tag == ControlId::kStereoModeSpeaker ? 1.0 : 0.0);
    if (!send || loading) return;
    sendInt(Msg::kStereoModeBinaural, Msg::kStereoModeBinaural,
            tag == ControlId::kStereoModeBinaural ? 1 : 0);
    restart(kLatencyChanged);
}

void AmbiBinController::selectHrirMode(ParamID tag, bool send) {
    modeTag = tag;
    for (ParamID id = ControlId::kModeStandard; id <= static_cast<ParamID>(ControlId::kModeImmerse); ++id)
        writeValue(id, id == tag ? 1.0 : 0.0);
    if (!send || loading) return;
    if (tag == static_cast<ParamID>(ControlId::kModeImmerse))
        sendText(Msg::kSofaFileChanged, Msg::kFilename, profileName);
    if (tag == static_cast<ParamID>(ControlId::kModeSofa))
        sendText(Msg::kSofaFileChanged, Msg::kFilename, sofaFile);
    sendInt(Msg::kHrirModeChanged, Msg::kHrirModeChanged, static_cast<int64_t>(tag) - ControlId::kModeOffset);
    restart(kLatencyChanged);
}

void AmbiBinController::showHrirMode(int64_t mode) {
    ParamID tag = ControlId::kModeStandard;
    switch (mode) {
    case 2: tag = ControlId::kModeYoutube; break;
    case 3: tag = ControlId::kModeSofa; break;
    case 4: tag = ControlId::kModeFacebook; break;
    case 5: tag = ControlId::kModeImmerse; break;
    default: break;
    }
    selectHrirMode(tag, false);
}

void AmbiBinController::loadSofaFile() {
    IPtr<IPlxFileSelector> selector =
        IPtr<IPlxFileSelector>::adopt(queryInterfaceOf<IPlxFileSelector>(getHostContext()));
    if (!selector) return;
    char16 path[1024] = {};
    if (selector->selectFile(u"Select a SOFA file", u"SOFA", u"sofa", path, 1024) != kResultOk) return;
    path[1023] = 0;
    if (path[0] == 0) return;
    sofaFile = utf16ToUtf8(path);
    setEnabled(ControlId::kModeSofa, true);
    setText(ControlId::kSofaFileNameString, path);
    selectHrirMode(ControlId::kModeSofa, true);
}

void AmbiBinController::rebuildMenu() {
    menu.clear();
    menu.push_back({kMenuTitle, utf8ToUtf16(kSelectSofaText)});
    menu.push_back({kMenuLoadFile, u"Load SOFA File..."});
    menu.push_back({kMenuRefresh, u"Refresh Profiles"});
    // The personal-profile service would list its profiles here, from 100 on;
    // without it there are none.
    if (Parameter* p = editorParameters.getParameter(ControlId::kSofaSelectorMenu))
        p->editInfo().stepCount = static_cast<int32>(menu.size()) - 1;
}

void AmbiBinController::selectMenuEntry(size_t position) {
    if (position >= menu.size()) return;
    const MenuEntry entry = menu[position];
    if (entry.number == kMenuLoadFile) {
        loadSofaFile();
    } else if (entry.number == kMenuRefresh) {
        rebuildMenu();
    } else if (entry.number >= kMenuFirstProfile) {
        profileName = utf16ToUtf8(entry.text);
        setEnabled(ControlId::kModeImmerse, true);
        selectHrirMode(ControlId::kModeImmerse, true);
    }
}

void AmbiBinController::showSofaName(const std::string& name) {
    if (endsWithIgnoringCase(name, ".sofa")) {
        std::error_code error;
        const bool usable = std::filesystem::is_regular_file(std::filesystem::path(name), error);
        sofaFile = name;
        setEnabled(ControlId::kModeSofa, usable);
        setText(ControlId::kSofaFileNameString, usable ? utf8ToUtf16(name) : utf8ToUtf16(kSelectSofaText));
        return;
    }
    if (name.rfind(kProfilePrefix, 0) == 0) {
        profileName = name;
        setEnabled(ControlId::kModeImmerse, true);
        return;
    }
    setText(ControlId::kSofaFileNameString, utf8ToUtf16(kSelectSofaText));
}

void AmbiBinController::showAlgoType(int64_t type) {
    algoType = type;
    std::u16string description =
        arrangementName(inputArrangement) + u" > " + arrangementName(outputArrangement);
    if (type == Msg::kBinaural) description += u" (Binaural)";
    setText(ControlId::kDecoderModeString, description);
    writeValue(ControlId::kGuiShowBinauralModeSelection, type == Msg::kBinaural ? 1.0 : 0.0);
    writeValue(ControlId::kGuiShowNotCompatible, type == Msg::kNotCompatible ? 1.0 : 0.0);
    writeValue(ControlId::kGuiShowAuxGain, type == Msg::kBinaural || type == Msg::kSpeaker ? 1.0 : 0.0);

    const bool stereoChoice =
        type == Msg::kBinaural || (type == Msg::kSpeaker && outputArrangement == Layout::kStereo);
    const bool speaker = type == Msg::kSpeaker;
    bool changed = false;
    changed = setEnabled(ControlId::kStereoModeBinaural, stereoChoice) || changed;
    changed = setEnabled(ControlId::kStereoModeSpeaker, stereoChoice) || changed;
    changed = setEnabled(ParamId::kLfeGain, speaker) || changed;
    changed = setEnabled(ParamId::kLfeLowPass, speaker) || changed;
    changed = setEnabled(ParamId::kAuxGain, type == Msg::kBinaural || speaker) || changed;
    if (type == Msg::kBinaural) {
        const int32_t order = ambisonicOrderOf(inputArrangement);
        changed = setEnabled(ControlId::kModeYoutube, order == 1) || changed;
        changed = setEnabled(ControlId::kModeFacebook, order == 2 || order == 3) || changed;
    }
    if (changed) restart(kParamTitlesChanged);
}

// ---- head tracking ------------------------------------------------------------

void AmbiBinController::onTrackedRotation(double yaw, double pitch, double roll) {
    startGroupEdit();
    editParam(ParamId::kPitch, pitch);
    editParam(ParamId::kRoll, roll);
    editParam(ParamId::kYaw, yaw);
    finishGroupEdit();
}

// ---- messages -----------------------------------------------------------------

void AmbiBinController::sendInt(const char* id, const char* attribute, int64_t value) {
    IPtr<IMessage> message = IPtr<IMessage>::adopt(allocateMessage());
    if (!message) return;
    message->setMessageID(id);
    if (IPlxAttributes* a = message->getAttributes()) a->setInt(attribute, value);
    sendMessage(message.get());
}

void AmbiBinController::sendText(const char* id, const char* attribute, const std::string& utf8) {
    IPtr<IMessage> message = IPtr<IMessage>::adopt(allocateMessage());
    if (!message) return;
    message->setMessageID(id);
    if (IPlxAttributes* a = message->getAttributes()) a->setString(attribute, utf8ToUtf16(utf8).c_str());
    sendMessage(message.get());
}

void AmbiBinController::sendArrangementRequest(SpeakerArrangement arrangement) {
    requestedArrangement = arrangement;
    IPtr<IMessage> message = IPtr<IMessage>::adopt(allocateMessage());
    if (!message) return;
    message->setMessageID(Msg::kRequestedOutputArrangement);
    if (IPlxAttributes* a = message->getAttributes())
        a->setBinary(Msg::kBinary, &arrangement, sizeof arrangement);
    sendMessage(message.get());
}

tresult AmbiBinController::notify(IMessage* message) {
    if (!message) return kInvalidArgument;
    const char* id = message->getMessageID();
    if (!id) return kResultFalse;
    IPlxAttributes* a = message->getAttributes();
    auto is = [id](const char* name) { return std::strcmp(id, name) == 0; };
    int64 value = 0;
    auto intOf = [a, &value](const char* name) { return a && a->getInt(name, &value) == kResultOk; };

    if (is(Msg::kChangedAlgoType)) {
        if (!intOf(Msg::kChangedAlgoType)) return kResultFalse;
        showAlgoType(value);
        return kResultOk;
    }
    if (is(Msg::kHrirMode)) {
        if (!intOf(Msg::kHrirMode)) return kResultFalse;
        showHrirMode(value);
        return kResultOk;
    }
    if (is(Msg::kSofaName)) {
        char16 name[Msg::kMaxFilenameBytes / sizeof(char16) + 1] = {};
        if (!a || a->getString(Msg::kSofaName, name, Msg::kMaxFilenameBytes) != kResultOk)
            return kResultFalse;
        showSofaName(utf16ToUtf8(name));
        return kResultOk;
    }
    if (is(Msg::kChangeSpeakerConf)) {
        auto arrangementOf = [a](const char* name, SpeakerArrangement& arrangement) {
            const void* data = nullptr;
            uint32 size = 0;
            arrangement = 0;
            if (!a || a->getBinary(name, &data, &size) != kResultOk || size != sizeof arrangement || !data)
                return false;
            std::memcpy(&arrangement, data, sizeof arrangement);
            return true;
        };
        const bool inOk = arrangementOf(Msg::kInput, inputArrangement);
        const bool outOk = arrangementOf(Msg::kOutput, outputArrangement);
        meterInputs = channelCount(inputArrangement);
        meterOutputs = channelCount(outputArrangement);
        // What the processor now has is what a new choice is compared with.
        requestedArrangement = outputArrangement;
        if (const int32_t index = decoderOutputIndex(outputArrangement); index >= 0)
            writeValue(ParamId::kOutputArr, outputValueOf(index));
        return inOk && outOk ? kResultOk : kResultFalse;
    }
    if (is(Msg::kGraphLocation)) {
        tracker.usedInControlRoom = intOf(Msg::kUsedInControlRoom) && value == 1;
        return kResultOk;
    }
    if (is(Msg::kEmbody)) {
        // A status of the personal-profile service, for the editor's message line.
        char16 user[128] = {};
        if (a) a->getString(Msg::kUsername, user, sizeof user);
        const int64 status = intOf(Msg::kStatus) ? value : 0;
        setText(ControlId::kImmerseMsgString, std::u16string(user));
        writeValue(ControlId::kImmerseAlert, status != 0 ? 1.0 : 0.0);
        return kResultOk;
    }
    for (const char* callback : Msg::kProfileCallbacks) {
        if (!is(callback)) continue;
        // The service's answers, by role: a renewed profile is loaded again,
        // an unusable one is reported.
        if (is("updateProfileCallback")) {
            IPtr<IMessage> reload = IPtr<IMessage>::adopt(allocateMessage());
            if (reload) {
                reload->setMessageID(Msg::kForceReloadHrir);
                sendMessage(reload.get());
            }
            restart(kLatencyChanged);
        } else if (is("offlineProfileCallback") || is("invalidProfileCallback") ||
                   is("expiredProfileCallback")) {
            setText(ControlId::kImmerseMsgString, u"The personal profile is not available");
            writeValue(ControlId::kImmerseAlert, 1.0);
        }
        return kResultOk;
    }
    return EditController2::notify(message);
}

// ---- state --------------------------------------------------------------------

tresult AmbiBinController::setComponentState(IPlxStream* stream) {
    if (!stream) return kInvalidArgument;
    ProcessorState s;
    if (!readProcessorState(stream, s)) return kResultFalse;
    loading = true;
    writeValue(ParamId::kAuxGain, s.auxGain);
    writeValue(ParamId::kLfeGain, s.lfeGain);
    writeValue(ParamId::kLfeLowPass, s.lfeLowPass);
    if (s.version == 3 || s.version == 4) {
        tracker.mode = s.trackerMode != 0 ? HeadTrackerLink::kTracking : HeadTrackerLink::kOff;
        tracker.yaw = s.trackerAngles[0];
        tracker.pitch = s.trackerAngles[1];
        tracker.roll = s.trackerAngles[2];
        writeValue(ParamId::kHeadTracking, tracker.mode == HeadTrackerLink::kTracking ? 1.0 : 0.0);
    }
    selectStereoMode(s.stereoModeBinaural ? ControlId::kStereoModeBinaural : ControlId::kStereoModeSpeaker,
                     false);
    if (s.version >= 4) {
        writeValue(ParamId::kFocusAzimuth, s.focusAzimuth);
        writeValue(ParamId::kFocusElevation, s.focusElevation);
        writeValue(ParamId::kFocusSize, s.focusSize);
        writeValue(ParamId::kFocusAttenuation, s.focusAttenuation);
        writeValue(ParamId::kFocusOn, isOn(s.focusOn) ? 1.0 : 0.0);
        writeValue(ParamId::kFocusFollow, isOn(s.focusFollow) ? 1.0 : 0.0);
    }
    bool moved = false;
    const int32_t index = decoderOutputIndex(s.outputArrangement);
    if (s.outputArrangement != 0 && index >= 0 && s.outputArrangement != requestedArrangement) {
        sendArrangementRequest(s.outputArrangement);
        writeValue(ParamId::kOutputArr, outputValueOf(index));
        moved = true;
    }
    const bool rotationChanged = updateRotationFlags();
    const bool flagsChanged = updateFocusEnabling() || rotationChanged;
    loading = false;
    restartComponent(moved ? (kIoChanged | kLatencyChanged) : kLatencyChanged);
    if (flagsChanged) restartComponent(kParamTitlesChanged);
    return kResultOk;
}

tresult AmbiBinController::getState(IPlxStream* stream) {
    if (!stream) return kInvalidArgument;
    PlxStreamer s(stream);
    const bool ok = s.writeInt32(kControllerStateVersion) && s.writeDouble(tracker.yaw) &&
                    s.writeDouble(tracker.pitch) && s.writeDouble(tracker.roll) && s.writeInt32(tracker.mode);
    return ok ? kResultOk : kResultFalse;
}

tresult AmbiBinController::setState(IPlxStream* stream) {
    if (!stream) return kInvalidArgument;
    PlxStreamer s(stream);
    int32 version = 0;
    if (!s.readInt32(version)) return kResultFalse;
    if (version < kControllerStateVersion) return kResultOk;
    double angles[3] = {};
    int32 mode = 0;
    if (!s.readDouble(angles[0]) || !s.readDouble(angles[1]) || !s.readDouble(angles[2]) ||
        !s.readInt32(mode))
        return kResultFalse;
    double* fields[3] = {&tracker.yaw, &tracker.pitch, &tracker.roll};
    for (int i = 0; i < 3; ++i)
        if (!std::isnan(angles[i])) *fields[i] = std::clamp(angles[i], 0.0, 1.0);
    tracker.mode = mode == HeadTrackerLink::kTracking ? HeadTrackerLink::kTracking : HeadTrackerLink::kOff;
    writeValue(ParamId::kHeadTracking, tracker.mode == HeadTrackerLink::kTracking ? 1.0 : 0.0);
    if (updateRotationFlags()) restartComponent(kParamTitlesChanged);
    return kResultOk;
}

// ---- views and names ----------------------------------------------------------

IPlugView* AmbiBinController::createView(const char* name) {
    // The editor's views belong to the skin; opening one refreshes the menu.
    if (name && std::strcmp(name, "editor") == 0) rebuildMenu();
    return nullptr;
}

int32_t AmbiBinController::remoteParamId(const char* name) {
    for (const RemoteName& r : kRemoteNames)
        if (name && std::strcmp(name, r.name) == 0) return r.id;
    return kUnknownRemoteId;
}

const char* AmbiBinController::remoteName(int32_t id) {
    for (const RemoteName& r : kRemoteNames)
        if (r.id == id) return r.name;
    return nullptr;
}

const char* AmbiBinController::viewTemplate(const char* name) {
    for (const ViewName& v : kViews)
        if (name && std::strcmp(name, v.editorName) == 0) return v.templateName;
    return nullptr;
}

tresult AmbiBinController::queryFeature(const char* name) {
    return name && std::strcmp(name, "ImmerseSupported") == 0 ? kResultOk : kNotImplemented;
}

} // namespace Tannhofen::AmbiBin
