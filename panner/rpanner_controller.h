// RPannerController: the edit controller of the panner. It publishes the
// panner's parameter table, keeps its own RPannerModel for the editor (no
// gains, change messages on), turns the compound controls (orbit, counter
// shot, radius, the two handles) into the plain parameters that reach the
// processor, runs the editor's radio groups, key commands and reset, tells
// the host's surround context about the layouts, and chooses the host object
// bus that the instance joins. It answers the host's request for its remote
// map (rpanner_remote_map.cpp).
//
// Processor and controller stay alike because every plain parameter runs
// through the same model setters on both sides, from the same normalized
// values. Everything here runs on the host's user-interface thread.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

#include "editor/remote_map_controller.h"
#include "frame/iparameterfunctionname.h"
#include "mix/mixer_base_controller.h"
#include "panner/objects_bus.h"
#include "panner/panner_model.h"

namespace Tannhofen::Panner {

// Ids of the parameters that only the panner's editor uses.
namespace EditorId {
inline constexpr int32_t kSoloReadout = 388;
inline constexpr int32_t kShowSpeaker = 389;
inline constexpr int32_t kModifierSelect = 390;
inline constexpr int32_t kPositioning = 391;
inline constexpr int32_t kCenterDivergenceHover = 392; // 392 to 395
inline constexpr int32_t kPostProFeatures = 396;
inline constexpr int32_t kResetFromGui = 397;
inline constexpr int32_t kScaleYActive = 399; // 399 to 405: the editor's active-control flags
inline constexpr int32_t kThreeDActiveRouting = 405;
inline constexpr int32_t kBottomTopDivergenceHover = 406;
inline constexpr int32_t kBedMode = 500;
inline constexpr int32_t kObjectMode = 501;
inline constexpr int32_t kPatternFirst = 503; // 503 to 509: the seven elevation patterns
inline constexpr int32_t kPatternLast = 509;
inline constexpr int32_t kElevationModeWarn = 510;
inline constexpr int32_t kElevationModeOnOff = 511;
inline constexpr int32_t kElevationModeVisible = 512;
inline constexpr int32_t kElevationKnob = 513;
inline constexpr int32_t kHoverFirst = 514; // 514 to 517
inline constexpr int32_t kSelectedObjectBus = 518;
inline constexpr int32_t kObjectBusInfo = 519;
inline constexpr int32_t kObjectBusSelection = 520;
inline constexpr int32_t kObjectBusConnection = 521;
inline constexpr int32_t kObjectBusType = 522;
inline constexpr int32_t kSelectionClick = 523;
inline constexpr int32_t kRmuConnection = 524;
inline constexpr int32_t kObjectLabelFirst = 600;      // 600 to 621
inline constexpr int32_t kObjectConnectionFirst = 700; // 700 to 721
inline constexpr int32_t kObjectRows = 22;
inline constexpr int32_t kZoneFirst = 800; // 800 to 806: L, R, C, Lss, Rss, Lsr, Rsr
inline constexpr int32_t kIsBypassed = 812;
} // namespace EditorId

// Modifier bits of the editor's key commands.
namespace KeyModifier {
inline constexpr int32_t kJump = 2; // the centre jumps to the key's place
inline constexpr int32_t kSolo = 4; // the key's speaker is soloed
} // namespace KeyModifier

class RPannerController final : public Editor::RemoteMapController<Mix::MMixerBaseController>,
                                public Plx::IParameterFunctionName,
                                public ThreeD::IObjectsBusManagerListener {
public:
    PLX_OBJ_METHODS(RPannerController, Mix::MMixerBaseController, "RPannerController")
    PLX_REFCOUNT_METHODS(Mix::MMixerBaseController)
    Plx::tresult queryInterface(const Plx::TUID& iid, void** obj) override;

    RPannerController();

    Plx::tresult initialize(Plx::FUnknown* context) override;
    Plx::tresult terminate() override;
    Plx::tresult setComponentState(Plx::IPlxStream* state) override;
    // Runs every change by host or editor: compound controls, radio groups,
    // the model; then stores the value. NaN is refused.
    Plx::tresult setParamNormalized(Plx::ParamID id, Plx::ParamValue value) override;
    Plx::tresult notify(Plx::IMessage* message) override;
    // Position touch, and the edits of the targets of a compound control.
    Plx::tresult beginEdit(Plx::ParamID id) override;
    Plx::tresult endEdit(Plx::ParamID id) override;

    // IParameterFunctionName
    Plx::tresult getParameterIDFromFunctionName(int32_t unitId, const char* functionName,
                                                Plx::ParamID* paramId) override;
    // IObjectsBusManagerListener
    void busesChanged(int32_t connectedBus) override;
    void rendererConnected(bool connected) override;

    // The model's change messages.
    void update(Plx::FUnknown* changedUnknown, int32_t message) override;

    // The editor's key hook: numeric-pad codes 24 to 33 with modifier bits;
    // `exclusive` makes a solo key clear the other solos. False when the key
    // isn't the panner's.
    bool onKey(int32_t code, int32_t modifiers, bool exclusive = false);
    // Every position and focus control to its default for the layout.
    void reset();
    // New arrangements from the processor: the model, the defaults that
    // depend on the layout, the editor's flags and the host's surround context.
    void arrangementsChanged(Plx::SpeakerArrangement in, Plx::SpeakerArrangement out, bool changeParams);

    const RPannerModel& getModel() const { return *pannerModel.get(); }
    // The buses offered for the present input, as the list parameter shows them.
    const std::vector<std::u16string>& getBusList() const { return busNames; }

    // A parameter of the host's or of the editor's set, or null.
    Plx::Parameter* anyParameter(int32_t id) const;

    static constexpr const char* kSurroundSection = "RadialPannerPlugin";

protected:
    ~RPannerController() override;

    // The remote map: pages for the position, the image, the elevation and
    // the speakers of the present output.
    Editor::RemoteMapPlugin remoteMapPlugin() const override;
    void listRemotePages(Editor::RemoteMapWriter& writer) override;

private:
    struct BusEntry {
        int32_t index; // the manager's bus index
        int32_t objects;
        bool taken;
    };

    void addEditorParam(int32_t id, const char* name, int32_t stepCount = 1, double start = 0.0);
    // The value of a parameter and whether it counts as on.
    double value(int32_t id);
    bool isOn(int32_t id) { return value(id) >= 0.5; }
    // Sets a parameter without its side effects and tells the host.
    void feedBack(int32_t id, double v) { writeParam(static_cast<Plx::ParamID>(id), v, true); }
    // Sets it without its side effects, and without telling the host.
    void writeSilently(int32_t id, double v) { writeParam(static_cast<Plx::ParamID>(id), v, false); }
    // Sets a parameter as the editor does: its side effects run, the host hears.
    void edit(int32_t id, double v);
    // Tells the host of the present values of `ids`, in one group edit.
    void tellHost(std::initializer_list<int32_t> ids);
    int32_t inputChannels() const;
    int32_t frontChannels() const;

    void applyOrbit(double v);
    void applyCounterShot(double v);
    void applyRadius(double v);
    void applyHandle(int32_t id, double v);
    void applyPattern(int32_t id, double v);
    void applyPatternSwitch(double v);
    void applyObjectMode(bool on, bool fromSwitch);
    void showZones(double v);
    void updateSurroundContext(Plx::SpeakerArrangement in, Plx::SpeakerArrangement out);

    void rebuildBusList();
    void selectBus(double v);
    void busConnectionChanged(int32_t bus);

    // The targets whose edits a compound control holds open.
    std::vector<int32_t> targetsOf(int32_t id) const;
    void touch(bool on);
    // Runs the action of a change of `id` to `v`.
    void act(int32_t id, double v);

    Plx::IPtr<RPannerModel> pannerModel;
    Plx::IPtr<ThreeD::IObjectsBusManager> busManager;
    std::vector<BusEntry> busList;
    std::vector<std::u16string> busNames;
    int32_t currentBus = -1;
    int32_t busCount = 0;
    int32_t objectCount = 0;
    int32_t requiredObjects = 0;
    int32_t selectedBus = 0;
    float busCountNorm = 1.0f;
    float elevationChoice = 1.0f / 7.0f;
    bool rmuConnected = false;
    bool resetting = false;
    bool objectModeGuard = false;
    bool busSelecting = false;
    bool loadingState = false;
    int32_t inputClass = 0;
    std::array<int32_t, 512> openEdits{};                              // counts by id, for the ids below 512
    std::vector<std::pair<int32_t, std::vector<int32_t>>> openTargets; // compound id, its targets
    int32_t openHandle = -1;                                           // the handle whose edit is open
    int32_t touchCount = 0;
};

} // namespace Tannhofen::Panner
