// AmbiBinController: the edit controller of SphereDecoder. It publishes the
// 56 parameters of the decoder's table, keeps the editor's view-only controls
// (which parts of the editor show, which HRIR mode and stereo mode are
// chosen, the decoder's description), tells the processor of the user's
// choices by message, asks the host to restart the component when a choice
// needs a rebuild, and turns head-tracker reports into the three rotation
// parameters. It answers the host's request for its remote map with pages for
// the rotation, the focus and the output. Everything here runs on the host's
// user-interface thread.
//
// The editor's controls are reached like parameters, by their ids (800 to
// 816, and 125), through getParamNormalized, setParamNormalized and
// getParamStringByValue (the text of a text control, the entries of the
// SOFA menu), but the host's list of parameters holds only the table's rows.
#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <string>
#include <vector>

#include "ambi/head_tracker_link.h"
#include "editor/remote_map_controller.h"
#include "frame/editcontroller2.h"
#include "frame/speaker_layouts.h"

namespace Tannhofen::AmbiBin {

class AmbiBinController : public Editor::RemoteMapController<Plx::EditController2>,
                          public HeadTrackerLink::Sink {
public:
    PLX_OBJ_METHODS(AmbiBinController, Plx::EditController2, "AmbiBinController")

    using tresult = Plx::tresult;
    using ParamID = Plx::ParamID;
    using ParamValue = Plx::ParamValue;
    using SpeakerArrangement = Plx::SpeakerArrangement;

    static constexpr int32_t kControllerStateVersion = 5;
    // The id that a name unknown to remote surfaces gives.
    static constexpr int32_t kUnknownRemoteId = 1024;

    // An entry of the SOFA menu (811): its number tells what it does.
    struct MenuEntry {
        int32_t number; // 0 the title, 1 load a file, 4 refresh, 100 and above a profile
        std::u16string text;
    };
    static constexpr int32_t kMenuTitle = 0;
    static constexpr int32_t kMenuLoadFile = 1;
    static constexpr int32_t kMenuRefresh = 4;
    static constexpr int32_t kMenuFirstProfile = 100;

    AmbiBinController();

    // IPluginBase
    tresult initialize(Plx::FUnknown* context) override;
    tresult terminate() override;
    // IPlxEditController
    tresult setComponentState(Plx::IPlxStream* stream) override;
    tresult setState(Plx::IPlxStream* stream) override;
    tresult getState(Plx::IPlxStream* stream) override;
    tresult getParamStringByValue(ParamID id, ParamValue valueNormalized, Plx::char16* string) override;
    tresult getParamValueByString(ParamID id, const Plx::char16* string,
                                  ParamValue* valueNormalized) override;
    ParamValue normalizedParamToPlain(ParamID id, ParamValue valueNormalized) override;
    ParamValue plainParamToNormalized(ParamID id, ParamValue plainValue) override;
    // Stores the value and runs the reaction of its id. The editor's controls
    // refuse a change (kResultFalse) while disabled.
    tresult setParamNormalized(ParamID id, ParamValue value) override;
    Plx::IPlugView* createView(const char* name) override;
    // IConnectionPoint
    tresult notify(Plx::IMessage* message) override;
    // The table's parameters, then the editor's controls.
    Plx::Parameter* getParameterObject(ParamID id) override;

    // The id of a parameter for remote control surfaces, by its remote name;
    // kUnknownRemoteId for any other name.
    static int32_t remoteParamId(const char* name);
    // The remote name of a parameter; null for one that has none.
    static const char* remoteName(int32_t id);
    // The view template that an editor name opens; null for an unknown name.
    static const char* viewTemplate(const char* name);
    // Answers kResultOk to "ImmerseSupported", not implemented to all else.
    static tresult queryFeature(const char* name);

    // What the editor shows.
    std::u16string controlText(ParamID id);
    bool isEnabled(ParamID id);
    const std::vector<MenuEntry>& sofaMenu() const { return menu; }
    SpeakerArrangement getInputArrangement() const { return inputArrangement; }
    SpeakerArrangement getOutputArrangement() const { return outputArrangement; }
    int32_t getMeterInputCount() const { return meterInputs; }
    int32_t getMeterOutputCount() const { return meterOutputs; }
    bool isHostKestra() const { return hostKestra; }
    HeadTrackerLink& headTracker() { return tracker; }

protected:
    std::span<const Plx::ParamInfoRecord> getParamTable() const override;
    // Ranges with the row's own minimum and maximum; the output arrangement as
    // a list of the decoder's outputs.
    Plx::Parameter* createTableParameter(const Plx::ParamInfoRecord& row) override;
    // HeadTrackerLink::Sink: one group edit of pitch, roll and yaw.
    void onTrackedRotation(double yaw, double pitch, double roll) override;
    Editor::RemoteMapPlugin remoteMapPlugin() const override;
    void listRemotePages(Editor::RemoteMapWriter& writer) override;

private:
    // The reaction to a changed value of `id`.
    void react(ParamID id, double value, double before);
    // Sets a value without its reaction; true when it changed.
    bool writeValue(ParamID id, double value);
    // A value as a user's edit: told to the host and stored.
    void editParam(ParamID id, double value);
    void setText(ParamID id, const std::u16string& text);
    // Enables or disables a parameter or control; true when its flags changed.
    bool setEnabled(ParamID id, bool enabled);
    // The flags an enabled parameter has: those its row grants (and, for the
    // rotation, automation unless the tracker drives it).
    Plx::int32 enabledFlags(ParamID id) const;
    bool updateFocusEnabling();
    bool updateRotationFlags();
    void restart(Plx::int32 flags);

    void selectStereoMode(ParamID tag, bool send);
    void selectHrirMode(ParamID tag, bool send);
    void showHrirMode(int64_t mode);
    void loadSofaFile();
    void selectMenuEntry(size_t position);
    void rebuildMenu();
    void showSofaName(const std::string& name);
    void showAlgoType(int64_t type);

    void sendInt(const char* id, const char* attribute, int64_t value);
    void sendText(const char* id, const char* attribute, const std::string& utf8);
    void sendArrangementRequest(SpeakerArrangement arrangement);

    // The index in the output list of a normalised value, and back.
    static int32_t outputIndexOf(double value);
    static double outputValueOf(int32_t index);

    HeadTrackerLink tracker;
    std::map<ParamID, std::u16string> texts; // the text controls
    std::vector<MenuEntry> menu;
    SpeakerArrangement inputArrangement = 0;
    SpeakerArrangement outputArrangement = 0;
    SpeakerArrangement requestedArrangement = 0;
    ParamID stereoTag = 800;
    ParamID modeTag = 803;
    std::string sofaFile;    // the SOFA file chosen or in force, UTF-8
    std::string profileName; // the profile chosen or in force
    int64_t algoType = 0;
    int32_t meterInputs = 4;
    int32_t meterOutputs = 2;
    bool hostKestra = false;
    bool loading = false; // a state load is under way: the reactions send nothing
};

} // namespace Tannhofen::AmbiBin
