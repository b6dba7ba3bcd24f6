// MMixerController: the converter's (MixMorph's) edit controller. On top of
// the mix controller it keeps an MMixerModel that mirrors the processor's, the
// list of output formats that the user can choose, input and output solo
// groups, and the pair "Solo To Center" / "Surround To Front", of which at
// most one is on. Parameters that the controller changes by itself are told
// to the host; the parameter that the host has just set never is, so no edit
// comes back as an echo. It answers the host's request for its remote map
// with pages of levels, format and the solos of each side.
#pragma once

#include <cstdint>
#include <vector>

#include "editor/remote_map_controller.h"
#include "frame/speaker_arrangement.h"
#include "mix/arrangement_list.h"
#include "mix/mixer_base_controller.h"
#include "mix/mixer_model.h"

namespace Tannhofen::Mix {

class MMixerController : public Editor::RemoteMapController<MMixerBaseController> {
public:
    PLX_OBJ_METHODS(MMixerController, MMixerBaseController, "MMixerController")

    MMixerController();

    Plx::tresult initialize(Plx::FUnknown* context) override;
    Plx::tresult terminate() override;

    // The processor's state: the saved levels go to the parameters and to
    // the model. Answers false for a stream that isn't a mix state.
    Plx::tresult setComponentState(Plx::IPlxStream* state) override;
    Plx::tresult setParamNormalized(Plx::ParamID id, Plx::ParamValue value) override;
    Plx::tresult getParamStringByValue(Plx::ParamID id, Plx::ParamValue valueNormalized,
                                       Plx::char16* string) override;
    Plx::tresult getParamValueByString(Plx::ParamID id, const Plx::char16* string,
                                       Plx::ParamValue* valueNormalized) override;
    Plx::tresult notify(Plx::IMessage* message) override;

    bool getParamIdByRemoteName(const char* name, int32_t& id) const override;
    const char* getEditorName(const char* name) const override;

    // The model's change messages: solos cleared, or a present speaker's solo changed.
    void update(Plx::FUnknown* changedUnknown, int32_t message) override;

    // New arrangements from the processor: the model, the format list, the
    // editor's speaker sets and, with `changeParams`, the default levels.
    void arrangementsChanged(Plx::SpeakerArrangement in, Plx::SpeakerArrangement out, bool changeParams);
    // Asks the processor for another output format and the host for a restart.
    Plx::tresult setOutputArrangement(Plx::SpeakerArrangement arr);

    const ArrangementList& getArrangements() const { return arrangements; }
    const MMixerModel& getModel() const { return *model.get(); }
    bool isNivoraHost() const { return isNivora; }
    bool isUsedAsPanner() const { return usedAsPanner; }
    // Derive the format list from the input instead of the output.
    void setKeepOwnList(bool on) { keepOwnList = on; }
    // Whether the editor offers a solo group's button for the present arrangements.
    bool isSoloGroupEnabled(int32_t id) const;

protected:
    ~MMixerController() override;

    void afterParameters() override;
    // The output format row becomes a list parameter over the format list.
    Plx::Parameter* createTableParameter(const Plx::ParamInfoRecord& row) override;
    Editor::RemoteMapPlugin remoteMapPlugin() const override;
    void listRemotePages(Editor::RemoteMapWriter& writer) override;

private:
    // Switched on, solos the speakers of a group and switches the other
    // groups of the same side off.
    void applySoloGroup(int32_t id, bool on);
    // Clears every solo of one side, and its groups.
    void resetSolos(bool input);
    // Group parameters follow the solos: on when every present speaker is soloed.
    void deriveGroupStates();
    // The other one of the pair 131/132 goes off when this one comes on.
    void applyFoldSwitch(Plx::ParamID id, Plx::ParamID other, double value);
    void refreshEditorParameters();
    void updateSoloModes();

    Plx::IPtr<MMixerModel> model;
    ArrangementList arrangements;
    bool isNivora = false;
    bool usedAsPanner = false;
    bool keepOwnList = false;
    std::vector<int32_t> inputGroups;
    std::vector<int32_t> outputGroups;
};

} // namespace Tannhofen::Mix
