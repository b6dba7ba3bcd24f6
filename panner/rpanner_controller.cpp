#include "panner/rpanner_controller.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "frame/ihostinfo.h"
#include "frame/isurroundcontext.h"
#include "frame/text.h"
#include "mix/mix_messages.h"
#include "panner/panner_params.h"
#include "panner/rpanner_messages.h"
#include "panner/rpanner_param_table.h"

namespace Tannhofen::Panner {

using namespace Plx;

namespace {

constexpr double kExact = 2.220446049250313e-16;
constexpr double kUnitScale = 0.7071067811865476; // a scale or radius of 100 %

// The last display choice of any instance, for the next one; -1 for none.
int32_t showExtendedShared = -1;
int32_t instanceCount = 0;
// Keeps the radio group of the patterns from acting on its own updates.
bool patternGuard = false;

bool isMeter(ParamID id) {
    return id >= static_cast<ParamID>(Mix::MeterId::kInputPeakFirst) &&
           id <= static_cast<ParamID>(Mix::MeterId::kMaxOutLevel);
}

bool isHandle(int32_t id) {
    return id == ParamId::kPosLX || id == ParamId::kPosLY || id == ParamId::kPosLZ || id == ParamId::kPosRX ||
           id == ParamId::kPosRY || id == ParamId::kPosRZ;
}

// The edits of these mark the position as touched.
bool movesPosition(int32_t id) {
    switch (id) {
    case ParamId::kPosX:
    case ParamId::kPosY:
    case ParamId::kPosZ:
    case ParamId::kTiltY:
    case ParamId::kTiltX:
    case ParamId::kScaleX:
    case ParamId::kScaleY:
    case ParamId::kRotateZ: return true;
    default: return false;
    }
}

int32_t twinHandle(int32_t id) {
    switch (id) {
    case ParamId::kPosLX: return ParamId::kPosRX;
    case ParamId::kPosRX: return ParamId::kPosLX;
    case ParamId::kPosLY: return ParamId::kPosRY;
    case ParamId::kPosRY: return ParamId::kPosLY;
    case ParamId::kPosLZ: return ParamId::kPosRZ;
    default: return ParamId::kPosLZ;
    }
}

// Speaker groups of the 3D test of a layout.
constexpr SpeakerArrangement kTopSpeakers = Speaker::Tc | Speaker::Tfl | Speaker::Tfc | Speaker::Tfr |
                                            Speaker::Trl | Speaker::Trc | Speaker::Trr | Speaker::Tsl |
                                            Speaker::Tsr;
constexpr SpeakerArrangement kBottomSpeakers = Speaker::Bfl | Speaker::Bfc | Speaker::Bfr;
constexpr SpeakerArrangement kEarSpeakers = Speaker::L | Speaker::R | Speaker::C | Speaker::Ls | Speaker::Rs |
                                            Speaker::Lc | Speaker::Rc | Speaker::Cs | Speaker::Sl |
                                            Speaker::Sr | Speaker::M | Speaker::Lcs | Speaker::Rcs |
                                            Speaker::Pl | Speaker::Pr;

// A layout is 3D when it has speakers above or below the ear and also at
// the ear, or both above and below.
bool is3D(SpeakerArrangement mask) {
    const bool top = (mask & kTopSpeakers) != 0;
    const bool bottom = (mask & kBottomSpeakers) != 0;
    return (top || bottom) && ((mask & kEarSpeakers) != 0 || (top && bottom));
}

int32_t arrangementIndex(SpeakerArrangement mask) {
    for (int32_t i = 0; i < kArrangementCount; ++i)
        if (kArrangements[i].mask == mask) return i;
    return -1;
}

// The keys of the numeric pad: the place the centre jumps to, and the
// speaker index whose solo a key toggles (-1: none).
struct PadKey {
    double x, y;
    int32_t speaker;
};
constexpr int32_t kFirstKey = 24;
constexpr int32_t kClearKey = 29;
constexpr PadKey kPadKeys[10] = {{0.0, 0.0, -1}, {0.0, 1.0, 3}, {0.5, 1.0, 7}, {1.0, 1.0, 4}, {0.0, 0.5, 8},
                                 {0.5, 0.5, -1}, {1.0, 0.5, 9}, {0.0, 0.0, 0}, {0.5, 0.0, 2}, {1.0, 0.0, 1}};

// The zones that each zone mode shows: L, R, C, Lss, Rss, Lsr, Rsr.
constexpr bool kZonesShown[6][7] = {
    {true, true, true, true, true, true, true},     {true, true, true, true, true, false, false},
    {true, true, true, false, false, true, true},   {false, false, true, false, false, true, true},
    {true, true, true, false, false, false, false}, {false, false, false, true, true, true, true}};

} // namespace

RPannerController::RPannerController()
    : RemoteMapController(RPannerParamTable::instance()),
      pannerModel(IPtr<RPannerModel>::adopt(new RPannerModel)) {
    // The processor's first buses, until it tells its own.
    pannerModel->setArrangements(Layout::kMono, Layout::k5_1);
    pannerModel->setNotifyChanges(true);
    pannerModel->addDependent(this);
    ++instanceCount;
}

RPannerController::~RPannerController() {
    pannerModel->removeDependent(this);
    if (--instanceCount == 0) showExtendedShared = -1;
}

tresult RPannerController::queryInterface(const TUID& iid, void** obj) {
    if (!obj) return kInvalidArgument;
    PLX_QUERY_INTERFACE(iid, obj, IParameterFunctionName)
    PLX_QUERY_INTERFACE(iid, obj, ThreeD::IObjectsBusManagerListener)
    return RemoteMapController::queryInterface(iid, obj);
}

void RPannerController::addEditorParam(int32_t id, const char* name, int32_t stepCount, double start) {
    const std::u16string title = utf8ToUtf16(name);
    editorParameters.addParameter(new Parameter(title.c_str(), static_cast<ParamID>(id), nullptr, start,
                                                stepCount, ParameterInfo::kIsHidden));
}

tresult RPannerController::initialize(FUnknown* context) {
    const tresult r = MMixerBaseController::initialize(context);
    if (r != kResultOk) return r;
    using namespace EditorId;
    addEditorParam(kBedMode, "BedMode", 1, 1.0);
    addEditorParam(kObjectMode, "ObjectMode");
    const char* patterns[] = {"ElevationPatternWedge", "ElevationPatternCeiling", "ElevationPatternSphere",
                              "ElevationPatternCup",   "ElevationPatternTunnel",  "ElevationPatternHalfPipe",
                              "ElevationPatternRidge"};
    for (int32_t i = 0; i < 7; ++i) addEditorParam(kPatternFirst + i, patterns[i]);
    addEditorParam(kElevationModeWarn, "elevationModeWarn");
    addEditorParam(kElevationModeOnOff, "elevationModeOnOff");
    addEditorParam(kElevationModeVisible, "elevationModeVisible");
    addEditorParam(kElevationKnob, "elevationKnob", 1, 1.0);
    const char* zones[] = {"ZoneL", "ZoneR", "ZoneC", "ZoneLss", "ZoneRss", "ZoneLsr", "ZoneRsr"};
    for (int32_t i = 0; i < 7; ++i) addEditorParam(kZoneFirst + i, zones[i], 1, 1.0);
    const char* hovers[] = {"objectSizeHover", "distanceScaleHover", "XYHover", "XZHover"};
    for (int32_t i = 0; i < 4; ++i) addEditorParam(kHoverFirst + i, hovers[i]);
    addEditorParam(kSelectionClick, "selectionClick");
    addEditorParam(kObjectBusSelection, "objectBusSelection", 0);
    addEditorParam(kSelectedObjectBus, "selectedObjectBus", 0);
    addEditorParam(kObjectBusInfo, "ObjectBusInfo");
    addEditorParam(kObjectBusConnection, "ObjectBusConnection", 2);
    addEditorParam(kObjectBusType, "ObjectBusType", 8);
    for (int32_t i = 0; i < kObjectRows; ++i) {
        const std::string connection = "Object" + std::to_string(i + 1) + "Connection";
        const std::string label = "Object" + std::to_string(i + 1) + "Label";
        addEditorParam(kObjectConnectionFirst + i, connection.c_str());
        addEditorParam(kObjectLabelFirst + i, label.c_str(), 0);
    }
    addEditorParam(kRmuConnection, "RMUConnection");
    addEditorParam(kShowSpeaker, "showSpeaker", 1, 1.0);
    addEditorParam(kPositioning, "positioning");
    addEditorParam(kModifierSelect, "modifierSelect", 6);
    addEditorParam(kResetFromGui, "resetFromGUI");
    const char* active[] = {"scaleYActiveGUI",        "scaleXActiveGUI",      "scaleZActiveGUI",
                            "signalRotateZActiveGUI", "signalTiltYActiveGUI", "signalTiltXActiveGUI",
                            "threeDActiveRouting"};
    for (int32_t i = 0; i < 7; ++i) addEditorParam(kScaleYActive + i, active[i]);
    const char* divergence[] = {"centerDivergenceHover", "frontDivergenceHover", "sideDivergenceHover",
                                "rearDivergenceHover"};
    for (int32_t i = 0; i < 4; ++i) addEditorParam(kCenterDivergenceHover + i, divergence[i]);
    addEditorParam(kBottomTopDivergenceHover, "bottomTopDivergenceHover");
    addEditorParam(kPostProFeatures, "postProFeatures");
    addEditorParam(kIsBypassed, "isBypassed");

    IPtr<IPlxHostInfo> hostInfo = IPtr<IPlxHostInfo>::adopt(queryInterfaceOf<IPlxHostInfo>(context));
    int32_t product = 0;
    if (hostInfo && hostInfo->getProductCode(&product) == kResultOk && (product == 28000 || product == 30000))
        writeEditorParam(kPostProFeatures, 1.0);
    if (showExtendedShared >= 0) {
        writeSilently(ParamId::kShowExtendedDisplay, showExtendedShared);
        pannerModel->setExtendedDisplay(showExtendedShared != 0);
    }
    busManager =
        IPtr<ThreeD::IObjectsBusManager>::adopt(queryInterfaceOf<ThreeD::IObjectsBusManager>(context));
    arrangementsChanged(pannerModel->getInputArrangement(), pannerModel->getOutputArrangement(), true);
    return kResultOk;
}

tresult RPannerController::terminate() {
    if (busManager) {
        auto* self = static_cast<IPlxEditController*>(this);
        if (currentBus >= 0) busManager->connectBus(self, -1);
        busManager->unregisterInstance(self);
        busManager.reset();
    }
    return MMixerBaseController::terminate();
}

Parameter* RPannerController::anyParameter(int32_t id) const {
    if (id < 0) return nullptr;
    Parameter* p = parameters.getParameter(static_cast<ParamID>(id));
    return p ? p : editorParameters.getParameter(static_cast<ParamID>(id));
}

double RPannerController::value(int32_t id) {
    const Parameter* p = anyParameter(id);
    return p ? p->getNormalized() : 0.0;
}

int32_t RPannerController::inputChannels() const {
    return pannerModel->getNumIn();
}

int32_t RPannerController::frontChannels() const {
    const Mix::SpeakerGrid& grid = pannerModel->getInGrid();
    for (uint32_t z = 0; z < Mix::SpeakerGrid::kZones; ++z)
        if (const uint32_t n = grid.count(Mix::SpeakerGrid::kEar, z)) return static_cast<int32_t>(n);
    return 0;
}

void RPannerController::edit(int32_t id, double v) {
    setParamNormalized(static_cast<ParamID>(id), v);
    if (parameters.getParameter(static_cast<ParamID>(id))) tellHost({id});
}

void RPannerController::tellHost(std::initializer_list<int32_t> ids) {
    startGroupEdit();
    for (int32_t id : ids) {
        const auto pid = static_cast<ParamID>(id);
        if (!parameters.getParameter(pid)) continue;
        const bool open = id >= 0 && id < static_cast<int32_t>(openEdits.size()) && openEdits[id] > 0;
        if (!open) EditController::beginEdit(pid);
        performEdit(pid, value(id));
        if (!open) EditController::endEdit(pid);
    }
    finishGroupEdit();
}

tresult RPannerController::setParamNormalized(ParamID id, ParamValue raw) {
    if (std::isnan(raw)) return kInvalidArgument;
    // In single precision, as the processor's model gets it.
    const double v = static_cast<float>(std::clamp(raw, 0.0, 1.0));
    if (isMeter(id)) {
        // The base keeps the levels for the editor; the host reads the row.
        MMixerBaseController::setParamNormalized(id, v);
        if (Parameter* p = parameters.getParameter(id)) p->setNormalized(v);
        return kResultOk;
    }
    Parameter* p = anyParameter(static_cast<int32_t>(id));
    if (!p) return kResultFalse;
    p->setNormalized(v);
    act(static_cast<int32_t>(id), v);
    return kResultOk;
}

void RPannerController::act(int32_t id, double v) {
    RPannerModel& m = *pannerModel.get();
    using namespace EditorId;
    switch (id) {
    case ParamId::kPosX:
    case ParamId::kPosY:
    case ParamId::kPosZ:
        if (!isOn(kElevationModeWarn)) writeEditorParam(kElevationModeWarn, 1.0);
        if (id == ParamId::kPosZ && m.getElevationMode() != 0) return;
        m.setParamValue(id, v);
        m.updateOrbitAndRadius(false);
        return;
    case ParamId::kOrbit: applyOrbit(v); return;
    case ParamId::kCounterShot: applyCounterShot(v); return;
    case ParamId::kUnlockOrbit:
        if (v >= 0.5) {
            m.updateOrbitAndRadius(true);
            writeSilently(ParamId::kUnlockOrbit, 0.0);
        }
        return;
    case ParamId::kRadius: applyRadius(v); return;
    case ParamId::kReset:
        if (v >= 0.5) reset();
        return;
    case kResetFromGui:
        if (v >= 0.5) {
            reset();
            writeEditorParam(kResetFromGui, 0.0);
        }
        return;
    case kBedMode:
    case kObjectMode:
        // The editor's radio pair drives the object mode switch.
        if (v >= 0.5) edit(ParamId::kObjectModeSwitch, id == kObjectMode ? 1.0 : 0.0);
        return;
    case kElevationModeOnOff: applyPatternSwitch(v); return;
    case kObjectBusSelection: selectBus(v); return;
    case kSelectionClick:
        if (v >= 0.5) {
            rebuildBusList();
            writeEditorParam(kObjectBusSelection, selectedBus / busCountNorm);
        }
        return;
    case ParamId::kElevationOn:
        m.setParamValue(id, v);
        if (m.isElevationOn() && !isOn(kElevationModeOnOff)) writeEditorParam(kElevationKnob, 1.0);
        return;
    case ParamId::kElevationMode: {
        const int32_t modeBefore = m.getElevationMode();
        m.setParamValue(id, v);
        // The manual height returns with the pattern switched off, as in the processor.
        if (modeBefore != 0 && m.getElevationMode() == 0)
            m.setParamValue(ParamId::kPosZ, value(ParamId::kPosZ));
        if (!patternGuard) {
            // The radio group follows a mode set from outside the editor.
            patternGuard = true;
            const int32_t mode = m.getElevationMode();
            for (int32_t i = 0; i < 7; ++i) writeEditorParam(kPatternFirst + i, mode == i + 1 ? 1.0 : 0.0);
            writeEditorParam(kElevationModeOnOff, mode > 0 ? 1.0 : 0.0);
            if (mode > 0) elevationChoice = static_cast<float>(mode) / 7.0f;
            patternGuard = false;
        }
        return;
    }
    case ParamId::kShowExtendedDisplay:
        if (!loadingState) showExtendedShared = v >= 0.5 ? 1 : 0;
        m.setParamValue(id, v);
        return;
    case ParamId::kObjectModeSwitch: applyObjectMode(v > 0.0, true); return;
    case ParamId::kZoneMode:
        m.setZoneMode(v);
        showZones(v);
        return;
    case ParamId::kBypass:
        m.setParamValue(id, v);
        writeEditorParam(kIsBypassed, m.getDirectMode() ? 1.0 : 0.0);
        return;
    default: break;
    }
    if (isHandle(id)) {
        applyHandle(id, v);
    } else if (id >= kPatternFirst && id <= kPatternLast) {
        applyPattern(id, v);
    } else if (id < 256) {
        // Plain parameters: the same setter as in the processor.
        m.setParamValue(id, v);
    }
}

void RPannerController::applyOrbit(double v) {
    RPannerModel& m = *pannerModel.get();
    m.setOrbit(v);
    writeSilently(ParamId::kPosX, m.getParamValue(ParamId::kPosX));
    writeSilently(ParamId::kPosY, m.getParamValue(ParamId::kPosY));
    if (inputChannels() > 1) {
        writeSilently(ParamId::kTiltY, m.getParamValue(ParamId::kTiltY));
        writeSilently(ParamId::kRotateZ, m.getParamValue(ParamId::kRotateZ));
    }
    tellHost({ParamId::kPosX, ParamId::kPosY, ParamId::kRotateZ});
}

void RPannerController::applyCounterShot(double v) {
    if (v <= kExact) return;
    // The opposite side of the orbit.
    double opposite = pannerModel->getOrbit() + 0.5;
    if (opposite >= 1.0) opposite -= 1.0;
    applyOrbit(opposite);
    pannerModel->changed(PannerMessage::kOrbitChanged);
}

void RPannerController::applyRadius(double v) {
    RPannerModel& m = *pannerModel.get();
    m.setRadius(v);
    writeSilently(ParamId::kPosX, m.getParamValue(ParamId::kPosX));
    writeSilently(ParamId::kPosY, m.getParamValue(ParamId::kPosY));
    tellHost({ParamId::kPosX, ParamId::kPosY});
}

void RPannerController::applyHandle(int32_t id, double v) {
    RPannerModel& m = *pannerModel.get();
    const int32_t count = frontChannels();
    m.setDeferred(true);
    m.setHandle(id, v);
    m.setDeferred(false);
    for (int32_t target : {ParamId::kPosX, ParamId::kPosY, ParamId::kPosZ})
        writeSilently(target, m.getParamValue(target));
    if (count > 1) {
        for (int32_t target : {ParamId::kTiltX, ParamId::kTiltY, ParamId::kRotateZ, ParamId::kScaleX})
            writeSilently(target, m.getParamValue(target));
        tellHost({ParamId::kPosX, ParamId::kPosY, ParamId::kPosZ, ParamId::kTiltX, ParamId::kTiltY,
                  ParamId::kRotateZ, ParamId::kScaleX});
    } else {
        tellHost({ParamId::kPosX, ParamId::kPosY, ParamId::kPosZ});
        // With one front channel both handles are one point.
        writeSilently(twinHandle(id), v);
    }
}

void RPannerController::applyPattern(int32_t id, double v) {
    using namespace EditorId;
    if (v >= 0.5 && !patternGuard) {
        elevationChoice = static_cast<float>(id - kPatternFirst + 1) / 7.0f;
        edit(ParamId::kElevationMode, elevationChoice);
    }
    bool any = v >= 0.5;
    for (int32_t other = kPatternFirst; other <= kPatternLast; ++other)
        if (other != id) {
            if (v >= 0.5) writeEditorParam(other, 0.0);
            any = any || isOn(other);
        }
    writeEditorParam(kElevationModeOnOff, any ? 1.0 : 0.0);
}

void RPannerController::applyPatternSwitch(double v) {
    using namespace EditorId;
    RPannerModel& m = *pannerModel.get();
    const bool on = v >= 0.5;
    if (on) {
        writeEditorParam(kElevationKnob, 0.0);
        if (!m.isElevationOn()) edit(ParamId::kElevationOn, 1.0);
    } else {
        writeEditorParam(kElevationModeVisible, 0.0);
        if (m.isElevationOn()) writeEditorParam(kElevationKnob, 1.0);
    }
    if (!patternGuard) edit(ParamId::kElevationMode, on ? elevationChoice : 0.0);
    // Back to the manual height.
    if (!on && !resetting) edit(ParamId::kPosZ, value(ParamId::kPosZ));
}

void RPannerController::applyObjectMode(bool on, bool fromSwitch) {
    using namespace EditorId;
    writeEditorParam(kObjectMode, on ? 1.0 : 0.0);
    writeEditorParam(kBedMode, on ? 0.0 : 1.0);
    writeSilently(ParamId::kThreeDActiveGui, on ? 1.0 : 0.0);
    if (fromSwitch && busManager) {
        auto* self = static_cast<IPlxEditController*>(this);
        if (on)
            busManager->registerInstance(self, this);
        else
            busManager->unregisterInstance(self);
    }
    // As the processor does: object mode needs a bus.
    pannerModel->setParamValue(ParamId::kObjectModeSwitch, on ? 1.0 : 0.0);
    if (on) rebuildBusList();
}

void RPannerController::showZones(double v) {
    const auto mode = std::clamp(static_cast<int32_t>(v * 5.0 + 0.5), 0, 5);
    for (int32_t z = 0; z < 7; ++z)
        writeEditorParam(EditorId::kZoneFirst + z, kZonesShown[mode][z] ? 1.0 : 0.0);
}

// ---- reset ------------------------------------------------------------------

void RPannerController::reset() {
    RPannerModel& m = *pannerModel.get();
    startGroupEdit();
    m.setDeferred(true);
    resetting = true;
    auto target = [&](int32_t id, double t) {
        if (parameters.getParameter(static_cast<ParamID>(id)) && std::fabs(value(id) - t) > kExact)
            edit(id, t);
    };
    const Mix::SpeakerGrid& in = m.getInGrid();
    const bool multi = inputChannels() > 1;
    target(ParamId::kElevationMode, 0.0); // first, so that posZ takes its default
    target(ParamId::kPosX, 0.5);
    target(ParamId::kPosY, m.getDefault(ParamId::kPosY));
    target(ParamId::kPosZ, m.getDefault(ParamId::kPosZ));
    for (int32_t id :
         {ParamId::kCenterDistr, ParamId::kFrontDiv, ParamId::kRearDiv, ParamId::kFrontRearDiv,
          ParamId::kBottomTopDiv, ParamId::kObjectSize, ParamId::kZoneMode, ParamId::kSpeakerSnap})
        target(id, 0.0);
    if (m.getNumOutLfe() > 0) target(ParamId::kLfeVol, m.getDefault(ParamId::kLfeVol));
    target(ParamId::kBypass, 0.0);
    if (in.usedZones(Mix::SpeakerGrid::kEar) >= 2) target(ParamId::kScaleY, kUnitScale);
    if (multi) {
        target(ParamId::kScaleX, kUnitScale);
        for (int32_t id : {ParamId::kTiltY, ParamId::kRotateZ, ParamId::kTiltX}) target(id, 0.0);
    }
    if (in.layers() > 1 && is3D(m.getOutputArrangement())) target(ParamId::kScaleZ, kUnitScale);
    for (int32_t id = ParamId::kSpeakerFirst; id <= ParamId::kSpeakerLast; ++id) target(id, 1.0);
    for (int32_t id = Mix::ParamId::kOutputSoloFirst; id <= Mix::ParamId::kOutputSoloLast; ++id)
        target(id, 0.0);
    writeSilently(ParamId::kReset, 0.0);
    m.updateOrbitAndRadius(false);
    m.setDeferred(false);
    finishGroupEdit();
    resetting = false;
}

// ---- edits --------------------------------------------------------------------

std::vector<int32_t> RPannerController::targetsOf(int32_t id) const {
    std::vector<int32_t> targets;
    if (id == ParamId::kOrbit || id == ParamId::kCounterShot) {
        targets = {ParamId::kPosX, ParamId::kPosY};
        if (inputChannels() > 1) targets.insert(targets.end(), {ParamId::kRotateZ, ParamId::kTiltY});
    } else if (id == ParamId::kRadius) {
        targets = {ParamId::kPosX, ParamId::kPosY};
    } else if (isHandle(id)) {
        targets = {ParamId::kPosX, ParamId::kPosY, ParamId::kPosZ};
        if (frontChannels() > 1)
            targets.insert(targets.end(),
                           {ParamId::kTiltX, ParamId::kRotateZ, ParamId::kTiltY, ParamId::kScaleX});
    }
    return targets;
}

void RPannerController::touch(bool on) {
    touchCount += on ? 1 : -1;
    if ((on && touchCount == 1) || (!on && touchCount == 0)) feedBack(ParamId::kPosTouched, on ? 1.0 : 0.0);
}

tresult RPannerController::beginEdit(ParamID pid) {
    const auto id = static_cast<int32_t>(pid);
    const bool counted = id >= 0 && id < static_cast<int32_t>(openEdits.size());
    if (counted && openEdits[id]++ > 0) return kResultOk; // already open: the host has it
    const tresult r = EditController::beginEdit(pid);
    if (movesPosition(id)) touch(true);
    std::vector<int32_t> targets = targetsOf(id);
    if (isHandle(id)) {
        // Only the first handle touched moves the image's edits.
        if (openHandle >= 0)
            targets.clear();
        else
            openHandle = id;
    }
    for (int32_t t : targets) beginEdit(static_cast<ParamID>(t));
    if (!targets.empty()) openTargets.emplace_back(id, std::move(targets));
    return r;
}

tresult RPannerController::endEdit(ParamID pid) {
    const auto id = static_cast<int32_t>(pid);
    if (id >= 0 && id < static_cast<int32_t>(openEdits.size())) {
        if (openEdits[id] == 0) return kResultFalse;
        if (--openEdits[id] > 0) return kResultOk;
    }
    const tresult r = EditController::endEdit(pid);
    if (movesPosition(id)) touch(false);
    if (id == openHandle) openHandle = -1;
    auto it =
        std::find_if(openTargets.begin(), openTargets.end(), [&](const auto& e) { return e.first == id; });
    if (it != openTargets.end()) {
        const std::vector<int32_t> targets = std::move(it->second);
        openTargets.erase(it);
        for (int32_t t : targets) endEdit(static_cast<ParamID>(t));
    }
    return r;
}

// ---- keys -------------------------------------------------------------------------

bool RPannerController::onKey(int32_t code, int32_t modifiers, bool exclusive) {
    if (code < kFirstKey || code >= kFirstKey + 10) return false;
    if (!(modifiers & (KeyModifier::kJump | KeyModifier::kSolo))) return false;
    const PadKey& key = kPadKeys[code - kFirstKey];
    if (modifiers & KeyModifier::kJump) {
        if (code == kFirstKey) {
            edit(ParamId::kCounterShot, 1.0);
            edit(ParamId::kCounterShot, 0.0);
            return true;
        }
        // The key's place in the room, on the stage that the image spans.
        const double stage = pannerModel->getStageSize();
        const double x = (key.x + (stage - 1.0) / 2.0) / stage;
        const double y = (key.y + (stage - 1.0) / 2.0) / stage;
        startGroupEdit();
        pannerModel->setDeferred(true);
        edit(ParamId::kPosX, x);
        edit(ParamId::kPosY, y);
        pannerModel->setDeferred(false);
        finishGroupEdit();
        return true;
    }
    const auto soloId = [](int32_t index) { return Mix::ParamId::kOutputSoloFirst + index; };
    if (code == kClearKey) {
        for (int32_t i = 0; i < kSpeakerIndexCount; ++i)
            if (isOn(soloId(i))) edit(soloId(i), 0.0);
        return true;
    }
    if (key.speaker < 0 || !(pannerModel->getOutputArrangement() & indexToBit(key.speaker))) return true;
    const bool on = !isOn(soloId(key.speaker));
    if (on && exclusive)
        for (int32_t i = 0; i < kSpeakerIndexCount; ++i)
            if (i != key.speaker && isOn(soloId(i))) edit(soloId(i), 0.0);
    edit(soloId(key.speaker), on ? 1.0 : 0.0);
    return true;
}

// ---- arrangements -----------------------------------------------------------------

void RPannerController::arrangementsChanged(SpeakerArrangement in, SpeakerArrangement out,
                                            bool changeParams) {
    RPannerModel& m = *pannerModel.get();
    const int32_t classBefore = inputClass;
    const bool inLfeBefore = m.getNumInLfe() > 0;
    const bool outLfeBefore = m.getNumOutLfe() > 0;
    m.setArrangements(in, out);
    inputClass = inputClassOf(m.getInGrid(), m.getNumIn());
    writeSilently(ParamId::kAmbiActiveGui, m.isAmbisonicOutput() ? 1.0 : 0.0);

    // The defaults that follow the layout.
    auto setDefault = [&](int32_t id, double d) {
        if (Parameter* p = parameters.getParameter(static_cast<ParamID>(id)))
            p->editInfo().defaultNormalizedValue = d;
    };
    for (int32_t id : {ParamId::kLfeVol, ParamId::kPosZ, ParamId::kPosY}) setDefault(id, m.getDefault(id));
    setDefault(ParamId::kRadius, inputClass == 1 ? 0.0 : kUnitScale);
    setDefault(ParamId::kPosLX, 0.0);
    setDefault(ParamId::kPosRX, 0.0);

    if (changeParams) {
        // A new layout starts from its defaults, as in the processor.
        auto resetTo = [&](int32_t id) {
            const double d = m.getDefault(id);
            writeSilently(id, d);
            m.setParamValue(id, d);
        };
        if (inputClass != classBefore) resetTo(ParamId::kPosY);
        if ((m.getNumInLfe() > 0) != inLfeBefore || (m.getNumOutLfe() > 0) != outLfeBefore)
            resetTo(ParamId::kLfeVol);
        if (m.isAmbisonicOutput()) resetTo(ParamId::kPosZ);
        m.updateOrbitAndRadius(false);
    }
    restartComponent(kParamTitlesChanged);
    updateSurroundContext(in, out);
    requiredObjects = m.getNumIn();
    if (m.isObjectMode() || busManager) rebuildBusList();
}

void RPannerController::updateSurroundContext(SpeakerArrangement in, SpeakerArrangement out) {
    IPtr<ISurroundContext> context =
        IPtr<ISurroundContext>::adopt(queryInterfaceOf<ISurroundContext>(getHostContext()));
    IPlxAttributes* list = context ? context->getAttributes(kSurroundSection) : nullptr;
    if (!list) return;
    list->setInt("InputSpeakerArrangement", arrangementIndex(in));
    list->setInt("InputSpeakerArrangementIsAmbisonics", isAmbisonicLayout(in) ? 1 : 0);
    list->setInt("InputSpeakerArrangementIs3D", is3D(in) ? 1 : 0);
    list->setInt("OutputSpeakerArrangement", arrangementIndex(out));
    list->setInt("OutputSpeakerArrangementIsAmbisonics", isAmbisonicLayout(out) ? 1 : 0);
    list->setInt("OutputSpeakerArrangementIs3D", is3D(out) ? 1 : 0);
}

// ---- object buses ----------------------------------------------------------------

void RPannerController::rebuildBusList() {
    busList.clear();
    busNames.assign(1, u"No Object Bus");
    if (busManager) {
        const int32_t n = busManager->getBusCount();
        for (int32_t i = 0; i < n; ++i) {
            ThreeD::ObjectsBusInfo info{};
            if (busManager->getBusInfo(i, &info) != kResultOk) continue;
            // A bus with more objects than the input has channels can't be steered.
            if (info.objectCount < 1 || info.objectCount > requiredObjects) continue;
            const bool mine = i == currentBus;
            busList.push_back({i, info.objectCount, info.taken != 0 && !mine});
            std::u16string name(info.name);
            if (info.taken && !mine) name += u" (in use)";
            busNames.push_back(std::move(name));
        }
    }
    busCount = static_cast<int32_t>(busNames.size());
    busCountNorm = static_cast<float>(std::max(1, busCount - 1));
    selectedBus = 0;
    for (size_t k = 0; k < busList.size(); ++k)
        if (busList[k].index == currentBus) selectedBus = static_cast<int32_t>(k) + 1;
    if (Parameter* list = editorParameters.getParameter(EditorId::kObjectBusSelection))
        list->editInfo().stepCount = busCount - 1;
}

void RPannerController::selectBus(double v) {
    if (busSelecting || !busManager) return;
    busSelecting = true;
    const auto entry = static_cast<int32_t>(std::lround(v * busCountNorm));
    auto* self = static_cast<IPlxEditController*>(this);
    const int32_t bus = entry >= 1 && entry <= static_cast<int32_t>(busList.size())
                            ? busList[static_cast<size_t>(entry - 1)].index
                            : -1;
    if (busManager->connectBus(self, bus) == kResultOk)
        busConnectionChanged(busManager->getConnectedBus(self));
    busSelecting = false;
}

void RPannerController::busesChanged(int32_t connectedBus) {
    if (connectedBus != currentBus) busConnectionChanged(connectedBus);
    rebuildBusList();
}

void RPannerController::rendererConnected(bool connected) {
    rmuConnected = connected;
    writeEditorParam(EditorId::kRmuConnection, connected ? 1.0 : 0.0);
    if (connected) sendIntMessage(PannerMsg::kUpdateObjectStatus, nullptr, 0);
}

void RPannerController::busConnectionChanged(int32_t bus) {
    using namespace EditorId;
    RPannerModel& m = *pannerModel.get();
    const bool was = m.isObjectBusConnected();
    currentBus = bus;
    const bool connected = bus >= 0;
    sendIntMessage(PannerMsg::kObjectMode, PannerMsg::kObjectMode, connected ? 1 : 0);
    m.setObjectBusConnected(connected);
    writeSilently(ParamId::kHas3DConnector, connected ? 1.0 : 0.0);
    objectCount = 0;
    ThreeD::ObjectsBusInfo info{};
    if (connected && busManager && busManager->getBusInfo(bus, &info) == kResultOk) {
        objectCount = info.objectCount;
        writeEditorParam(kObjectBusType, std::clamp(objectCount - 1, 0, 8) / 8.0);
        writeEditorParam(kObjectBusConnection, info.connectedObjects >= objectCount ? 1.0 : 0.5);
        for (int32_t i = 0; i < kObjectRows; ++i)
            writeEditorParam(kObjectConnectionFirst + i, i < info.connectedObjects ? 1.0 : 0.0);
    } else {
        writeEditorParam(kObjectBusSelection, 0.0);
        for (int32_t i = 0; i < kObjectRows; ++i) writeEditorParam(kObjectConnectionFirst + i, 0.0);
    }
    // The processor enters the mode asked for once the bus is there, and
    // leaves it when the bus goes: the same here.
    m.setParamValue(ParamId::kObjectModeSwitch, connected && isOn(ParamId::kObjectModeSwitch) ? 1.0 : 0.0);
    if (was && !connected) {
        writeEditorParam(kBedMode, 1.0);
        writeEditorParam(kObjectMode, 0.0);
    }
}

// ---- messages -----------------------------------------------------------------------

void RPannerController::update(FUnknown* changedUnknown, int32_t message) {
    RPannerModel& m = *pannerModel.get();
    switch (message) {
    case PannerMessage::kOrbitChanged: feedBack(ParamId::kOrbit, m.getOrbit()); return;
    case PannerMessage::kRadiusChanged: feedBack(ParamId::kRadius, m.getRadiusParam()); return;
    case PannerMessage::kPositionsChanged:
        for (int32_t id : {ParamId::kPosLX, ParamId::kPosLY, ParamId::kPosLZ, ParamId::kPosRX,
                           ParamId::kPosRY, ParamId::kPosRZ}) {
            const double h = m.getParamValue(id);
            if (h >= 0.0 && std::fabs(value(id) - h) > 1.6e-06) feedBack(id, h);
        }
        return;
    case PannerMessage::kClearOutputSolos:
        for (int32_t id = Mix::ParamId::kOutputSoloFirst; id <= Mix::ParamId::kOutputSoloLast; ++id)
            if (isOn(id)) writeSilently(id, 0.0);
        writeEditorParam(EditorId::kSoloReadout, 0.0);
        return;
    default: MMixerBaseController::update(changedUnknown, message);
    }
}

tresult RPannerController::notify(IMessage* message) {
    if (!message) return kInvalidArgument;
    const char* id = message->getMessageID();
    if (id && std::strcmp(id, Mix::Msg::kBusArrangements) == 0) {
        SpeakerArrangement in = 0, out = 0;
        binaryArrangement(message, Mix::Msg::kInput, in);
        binaryArrangement(message, Mix::Msg::kOutput, out);
        arrangementsChanged(in, out, intAttribute(message, Mix::Msg::kChangeParams) != 0);
        return kResultOk;
    }
    return MMixerBaseController::notify(message);
}

tresult RPannerController::setComponentState(IPlxStream* state) {
    if (!state) return kResultFalse;
    loadingState = true;
    pannerModel->setDeferred(true);
    // The panner reads streams of any plug-in version, as its processor does.
    const bool read = readProcessorState(state, 0);
    pannerModel->updateOrbitAndRadius(false);
    pannerModel->setDeferred(false);
    loadingState = false;
    return read ? kResultOk : kResultFalse;
}

tresult RPannerController::getParameterIDFromFunctionName(int32_t, const char* functionName,
                                                          ParamID* paramId) {
    if (!paramId) return kInvalidArgument;
    int32_t id = 1024;
    const bool known = pannerFunctionNameToId(functionName, id);
    *paramId = static_cast<ParamID>(id);
    return known ? kResultOk : kResultFalse;
}

} // namespace Tannhofen::Panner
