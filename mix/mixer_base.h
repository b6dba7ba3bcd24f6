// MMixerBase: the common audio processor of the mix plug-ins. It owns a model
// of the MMixerBaseModel family, negotiates the bus arrangements with the
// host, mixes the input channels into the outputs through the model's gain
// matrix with a per-sample ramp, meters both sides, publishes the matrix for
// the editor, and saves and restores its parameters.
//
// Threads: the audio thread runs process() and what it calls; it allocates
// nothing and takes no lock. Everything it touches is sized in
// setupProcessing() and allocateBuffers(). The user-interface thread runs the
// rest. They share the GainPublisher and single-byte flags.
#pragma once

#include <memory>
#include <vector>

#include "frame/audioeffect.h"
#include "frame/igraphlocation.h"
#include "frame/iidlehandler.h"
#include "frame/iparameterchanges.h"
#include "mix/gain_applier.h"
#include "mix/gain_publisher.h"
#include "mix/mix_meters.h"
#include "mix/mix_params.h"
#include "mix/mix_state.h"
#include "mix/mixer_base_model.h"
#include "mix/slice_param_queues.h"

namespace Tannhofen::Mix {

// One slice of an audio block, in the sample type the host processes in.
template <class T>
struct MixSlice {
    int32_t ins;
    int32_t outs;
    T** in;
    T** out;
    int32_t index;      // the slice's number in its block
    int32_t numSamples; // of the block
    bool* changed;      // the matrix changed: ramp towards it
    bool* silent;       // no ramp ran in the block so far
    int32_t start(int32_t sliceLength) const { return index * sliceLength; }
};

class MMixerBase : public Plx::AudioEffect,
                   public IParamSetPlainValue,
                   public IParamGetPlainValue,
                   public Plx::IGraphLocation,
                   public Plx::IIdleHandler {
public:
    PLX_OBJ_METHODS(MMixerBase, Plx::AudioEffect, "MMixerBase")
    PLX_REFCOUNT_METHODS(Plx::AudioEffect)
    Plx::tresult queryInterface(const Plx::TUID& iid, void** obj) override;

    using SpeakerArrangement = Plx::SpeakerArrangement;
    using tresult = Plx::tresult;

    // The milliseconds of one slice of an audio block.
    static constexpr double kSliceMs = 5.34;
    static constexpr int32_t kMaxBusBits = 26;

    // The arrangement that stands in for one that the processor can't take.
    static SpeakerArrangement remap(SpeakerArrangement mask);
    static bool isAmbisonic(SpeakerArrangement mask);

    // IPluginBase
    tresult initialize(Plx::FUnknown* context) override;
    tresult terminate() override;
    // IConnectionPoint: connect sends what piled up while no peer was there.
    tresult connect(Plx::IConnectionPoint* other) override;
    tresult notify(Plx::IMessage* message) override;
    // IComponent
    tresult setActive(Plx::TBool state) override;
    tresult setState(Plx::IPlxStream* stream) override;
    tresult getState(Plx::IPlxStream* stream) override;
    // IAudioProcessor
    tresult setBusArrangements(SpeakerArrangement* inputs, int32_t numIns, SpeakerArrangement* outputs,
                               int32_t numOuts) override;
    tresult canProcessSampleSize(int32_t symbolicSampleSize) override;
    tresult setupProcessing(Plx::PlxProcessSetup* setup) override;
    tresult setProcessing(Plx::TBool state) override;
    tresult process(Plx::PlxProcessData* data) override;
    // IGraphLocation
    tresult setGraphLocation(int32_t location, int32_t kind) override;
    // IIdleHandler
    void onIdle() override;

    // IParamGetPlainValue
    int32_t getVersion() override { return kMixPluginVersion; }
    double getPlainValue(int32_t id) override;
    bool getString(int32_t id, std::string& text) override;
    // IParamSetPlainValue
    bool setVersion(int32_t version) override;
    void setPlainValue(int32_t id, double plain) override;
    void setString(int32_t id, const std::string& text) override;

    // Read-only views, for the owner and its tests.
    MMixerBaseModel* getModel() const { return model.get(); }
    const MixMatrix& getCurrentGains() const { return applier.gains(); }
    bool isRestartPending() const { return restartPending; }
    SpeakerArrangement getStateInputArr() const { return stateInputArr; }
    SpeakerArrangement getStateOutputArr() const { return stateOutputArr; }
    int32_t getSliceCount() const { return sliceCount; }
    int32_t getSliceLength() const { return sliceLength; }
    float getMaxRampStep() const { return maxRampStep; }
    bool isPassThrough() const { return passThrough; }
    bool isUsedAsPanner() const { return usedAsPanner; }

protected:
    MMixerBase(const Plx::FUID& controllerClass, const ParamTable* paramInfo);
    ~MMixerBase() override;

    // Operations that the plug-ins supply or extend, in this order.
    virtual void createModel() = 0;
    virtual void deleteModel() = 0;
    // May change `arr`; false refuses the arrangement as it came.
    virtual bool acceptInputArrangement(SpeakerArrangement& arr) = 0;
    virtual void allocateBuffers(int32_t ins, int32_t outs);
    virtual void freeBuffers();
    virtual void sendBusArrangements(SpeakerArrangement in, SpeakerArrangement out, bool changeParams);
    virtual void applyArrangements(SpeakerArrangement in, SpeakerArrangement out);
    virtual void resetLevels();
    virtual void processParameterChanges(Plx::IPlxParameterChanges* changes);
    // Applies the slice's parameter changes and mixes it; one overload per
    // sample type, both running one template.
    virtual bool processSlice(MixSlice<float>& slice);
    virtual bool processSlice(MixSlice<double>& slice);
    virtual double getParamValue(int32_t id) = 0;
    virtual void setParamValue(int32_t id, double value) = 0;
    virtual void resetParam(int32_t id);

    // Steps of the bus negotiation after the argument checks: remaps, new
    // buses, model and buffers, the message to the controller.
    tresult negotiateArrangements(SpeakerArrangement in, SpeakerArrangement out);
    SpeakerArrangement presentInputArr();
    SpeakerArrangement presentOutputArr();

    // Slices of a block of `numSamples`; unless forced, nothing happens for
    // the block size that the slices already have.
    void computeSlices(int32_t numSamples, bool forced);

    // The matrix in force (matrix 1 of the gain set in direct mode, else 0),
    // its routing and whether it is a pure routing.
    const MixMatrix* activeMatrix() const;
    const std::vector<int32_t>* activeRouting() const;
    bool activeIsSimple() const;

    // Messages, sent only to a connected peer (bus arrangements wait for one).
    void sendIntMessage(const char* id, const char* attribute, int64_t value);
    void sendGainMatrix(const MixMatrix& matrix);

    Plx::IPtr<MMixerBaseModel> model;
    const ParamTable* paramInfo;
    SpeakerArrangement stateInputArr = 0;
    SpeakerArrangement stateOutputArr = 0;
    int64_t projectTime = 0;
    uint32_t transportState = 0;
    bool restartPending = false;
    bool active = false;
    bool processing = false;
    bool usedAsPanner = false;
    double invSampleRate;
    int32_t stateVersion = 0;
    std::vector<Plx::IPtr<Plx::IMessage>> pendingMessages;
    bool unrestricted = false;
    bool directMode = false;
    bool processingChanged = false;
    bool matrixDirty = false;
    GainApplier applier;
    GainPublisher publisher;
    float maxRampStep;
    MixMeters meters;
    int32_t sliceCount = 0;
    int32_t sliceLength = 0;
    float invSliceLength = 0.0f;
    int32_t sliceBlockSize = 0;
    std::unique_ptr<SliceParamQueues> sliceQueues;
    bool sameArrangement = false;
    bool passThrough = false;
    bool directMonitoring = false;

private:
    template <class T>
    tresult processBlock(Plx::PlxProcessData& data, bool forceSend);
    template <class T>
    bool runSlice(MixSlice<T>& slice);
    void publishIfAsked(bool hadChanges);
    // Sizes the block scratch for the setup's sample size and block size.
    void sizeProcessBuffers();
    void registerIdle(bool on);

    int32_t numInChannels = 0;
    int32_t numOutChannels = 0;
    bool idleRegistered = false;
};

} // namespace Tannhofen::Mix
