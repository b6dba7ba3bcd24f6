// RadialPanner: the audio processor of the panner. MMixerBase does the bus
// negotiation, slicing, ramping, mixing, metering and publishing of the gain
// matrix; RadialPanner adds the RPannerModel, its arrangement rules (mono and
// stereo inputs unless unrestricted; any output, ambisonic ones included),
// the parameter dispatch, and the feed of the host's object bus.
//
// In object mode the host's objects carry the sound: one object per input
// channel follows the channel's position, at most once per slice, and the
// speaker outputs stay silent while the gains and meters keep running.
//
// Threads: parameter writes and the object feed run on the audio thread and
// allocate nothing; notify, the arrangements, state and onAssign run on the
// host's thread.
#pragma once

#include "mix/mixer_base.h"
#include "panner/objects_client.h"
#include "panner/panner_model.h"

namespace Tannhofen::Panner {

class RadialPanner final : public Mix::MMixerBase, public IAssignListener {
public:
    PLX_OBJ_METHODS(RadialPanner, Mix::MMixerBase, "RadialPanner")

    RadialPanner();

    // Also answers the object bus client, for the host.
    tresult queryInterface(const Plx::TUID& iid, void** obj) override;
    tresult notify(Plx::IMessage* message) override;

    // IAssignListener: the host joined the client to a bus.
    void onAssign() override;

    RPannerModel* getPannerModel() const { return pannerModel.get(); }
    ObjectsClient* getObjectsClient() const { return objectsClient.get(); }

protected:
    ~RadialPanner() override;

    void createModel() override;
    void deleteModel() override;
    bool acceptInputArrangement(SpeakerArrangement& arr) override;
    void applyArrangements(SpeakerArrangement in, SpeakerArrangement out) override;
    void resetLevels() override;
    void processParameterChanges(Plx::IPlxParameterChanges* changes) override;
    bool processSlice(Mix::MixSlice<float>& slice) override;
    bool processSlice(Mix::MixSlice<double>& slice) override;
    double getParamValue(int32_t id) override;
    void setParamValue(int32_t id, double value) override;

private:
    template <class T>
    bool sliceWithObjects(Mix::MixSlice<T>& slice);
    // Positions to the objects when a parameter moved them.
    void feedObjects();
    // Every object setting and position, as after joining a bus.
    void updateObjects();
    // Object mode as asked for by the switch, when a bus is there.
    void applyObjectMode();

    Plx::IPtr<ObjectsClient> objectsClient;
    Plx::IPtr<RPannerModel> pannerModel;
    bool positionsChanged = false;
    bool touched = false;             // the last position touch sent to the objects
    bool objectModeRequested = false; // the object mode switch, with or without a bus
    bool objectTransformMade = false;
    // The last value written to posZ: the manual height, which returns when
    // the elevation pattern is switched off, whatever order the host gave
    // the two changes in within a slice.
    double manualPosZ = 0.0;
};

} // namespace Tannhofen::Panner
