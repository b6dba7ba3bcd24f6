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
#include "mix/gain_publisher.h"
#include "mix/mix_params.h"
#include "mix/mix_state.h"
#include "mix/mixer_base_model.h"
#include "mix/slice_param_queues.h"

namespace Tannhofen::Mix {

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
    using int32 = Plx::int32;

    // The milliseconds of one slice of an audio block.
    static constexpr double kSliceMs = 5.34;
    static constexpr int32 kMaxBusBits = 26;

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
    tresult setBusArrangements(SpeakerArrangement* inputs, int32 numIns, SpeakerArrangement* outputs,
                               int32 numOuts) override;
    tresult canProcessSampleSize(int32 symbolicSampleSize) override;
    tresult setupProcessing(Plx::PlxProcessSetup* setup) override;
    tresult setProcessing(Plx::TBool state) override;
    tresult process(Plx::PlxProcessData* data) override;
    // IGraphLocation
    tresult setGraphLocation(int32 location, int32 kind) override;
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
    const MixMatrix& getCurrentGains() const { return currentGains; }
    bool isRestartPending() const { return restartPending; }
    SpeakerArrangement getStateInputArr() const { return stateInputArr; }
    SpeakerArrangement getStateOutputArr() const { return stateOutputArr; }
    int32 getSliceCount() const { return sliceCount; }
    int32 getSliceLength() const { return sliceLength; }
    float getMaxRampStep() const { return maxRampStep; }
    bool isPassThrough() const { return passThrough; }
    bool isUsedAsPanner() const { return usedAsPanner; }

protected:
    MMixerBase(const Plx::FUID& controllerClass, const MixParamTable* paramInfo);
    ~MMixerBase() override;

    // Operations that the plug-ins supply or extend, in this order.
    virtual void createModel() = 0;
    virtual void deleteModel() = 0;
    // May change `arr`; false refuses the arrangement as it came.
    virtual bool acceptInputArrangement(SpeakerArrangement& arr) = 0;
    virtual void allocateBuffers(int32 ins, int32 outs);
    virtual void freeBuffers();
    virtual void sendBusArrangements(SpeakerArrangement in, SpeakerArrangement out, bool changeParams);
    virtual void applyArrangements(SpeakerArrangement in, SpeakerArrangement out);
    virtual void resetLevels();
    virtual void processParameterChanges(Plx::IPlxParameterChanges* changes);
    virtual bool processSlice(int32 ins, int32 outs, float** in32, float** out32, double** in64,
                              double** out64, int32 slice, int32 numSamples, bool* changed, bool* silent);
    virtual double getParamValue(int32 id) = 0;
    virtual void setParamValue(int32 id, double value) = 0;
    virtual void resetParam(int32 id);

    // Steps of the bus negotiation after the argument checks: remaps, new
    // buses, model and buffers, the message to the controller.
    tresult negotiateArrangements(SpeakerArrangement in, SpeakerArrangement out);
    SpeakerArrangement presentInputArr();
    SpeakerArrangement presentOutputArr();

    // Slices of a block of `numSamples`; unless forced, nothing happens for
    // the block size that the slices already have.
    void computeSlices(int32 numSamples, bool forced);

    // The matrix in force (matrix 1 of the gain set in direct mode, else 0),
    // its routing and whether it is a pure routing.
    const MixMatrix* activeMatrix() const;
    const std::vector<int32_t>* activeRouting() const;
    bool activeIsSimple() const;

    // Messages, sent only to a connected peer (bus arrangements wait for one).
    void sendIntMessage(const char* id, const char* attribute, Plx::int64 value);
    void sendGainMatrix(const MixMatrix& matrix);

    Plx::IPtr<MMixerBaseModel> model;
    const MixParamTable* paramInfo;
    SpeakerArrangement stateInputArr = 0;
    SpeakerArrangement stateOutputArr = 0;
    Plx::int64 projectTime = 0;
    Plx::uint32 transportState = 0;
    bool restartPending = false;
    bool active = false;
    bool processing = false;
    bool usedAsPanner = false;
    double invSampleRate;
    int32 stateVersion = 0;
    std::vector<Plx::IPtr<Plx::IMessage>> pendingMessages;
    bool unrestricted = false;
    bool directMode = false;
    bool processingChanged = false;
    bool matrixDirty = false;
    MixMatrix currentGains;
    MixMatrix gainDiff;
    MixMatrix gainStep;
    // The same for 64-bit audio, sized only for that sample size.
    std::vector<double> currentGains64;
    std::vector<double> gainStep64;
    GainPublisher publisher;
    float maxRampStep;
    Plx::int64 vuCounter = 0;
    Plx::int64 vuInterval;
    float maxInLevel = 0.0f;
    float maxOutLevel = 0.0f;
    std::vector<float> inPeak;
    std::vector<float> outPeak;
    std::vector<float> inLevel;
    std::vector<float> outLevel;
    int32 sliceCount = 0;
    int32 sliceLength = 0;
    float invSliceLength = 0.0f;
    int32 sliceBlockSize = 0;
    std::unique_ptr<SliceParamQueues> sliceQueues;
    bool inVuWanted = false;
    bool inVuActive = false;
    bool outVuWanted = false;
    bool outVuActive = false;
    bool sameArrangement = false;
    bool passThrough = false;
    bool directMonitoring = false;

private:
    template <class T>
    tresult processBlock(Plx::PlxProcessData& data, bool forceSend);
    template <class T>
    bool mixSlice(int32 ins, int32 outs, T** in, T** out, int32 slice, int32 numSamples, bool* changed,
                  bool* silent);
    // Mixes `len` samples from `t` with the present gains, or, for a ramp,
    // with the gains plus (j + 1) steps at sample j of the block.
    template <class T>
    void mixBlock(int32 ins, int32 outs, T** in, T** out, int32 t, int32 len, bool ramp);
    // The samples of this slice's ramp before the target is reached, up to `limit`.
    int32 rampLength(int32 limit) const;

    // Copies the routed inputs for `len` samples from `t`; false when an
    // output overwrites an input that a later output still reads.
    template <class T>
    bool routingCopy(int32 ins, int32 outs, T** in, T** out, int32 t, int32 len);
    template <class T>
    void passThroughCopy(int32 ins, int32 outs, T** in, T** out, int32 t, int32 len);

    void fillSliceQueues(Plx::IPlxParameterChanges* changes, int32 numSamples);
    void sendMeters(Plx::IPlxParameterChanges* outChanges, bool forceSend);
    void publishIfAsked(bool hadChanges);
    // Sizes what depends on the sample size and block size as well as on the
    // channels: the 64-bit gains and the block scratch.
    void sizeProcessBuffers();
    void releaseScratch();
    void registerIdle(bool on);

    // Scratch of the block products: the inputs gathered, the outputs before
    // they are scattered, and the ramp's part of them; channels * block length.
    float* blockIn32 = nullptr;
    float* blockOut32 = nullptr;
    float* blockRamp32 = nullptr;
    double* blockIn64 = nullptr;
    double* blockOut64 = nullptr;
    double* blockRamp64 = nullptr;
    size_t blockInSize = 0;
    size_t blockOutSize = 0;
    int32 numInChannels = 0;
    int32 numOutChannels = 0;
    bool idleRegistered = false;
};

} // namespace Tannhofen::Mix
