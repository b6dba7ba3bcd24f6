// AmbiBinProcessor: the audio processor of SphereDecoder. It checks the bus
// arrangements, chooses one of the three decoder algorithms (binaural,
// speaker, ambisonic) for the host's sample size, reads the parameters of
// each block, mixes the head-locked stereo input into the output at the
// algorithm's latency, meters, saves its state and talks to the controller.
//
// Settings that need new filters, a new algorithm or new buses are only
// stored when they arrive; they take effect when the host restarts the
// component, and everything is built in setActive(true), with the stream
// stopped. process() allocates nothing and takes no lock.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "ambi/ambi_algo.h"
#include "ambi/ambi_interfaces.h"
#include "ambi/ambi_state.h"
#include "ambi/hrir_bank.h"
#include "ambi/hrir_profile.h"
#include "dsp/algo32/delay.h"
#include "dsp/algo64/delay.h"
#include "frame/audioeffect.h"
#include "frame/igraphlocation.h"

namespace Tannhofen::AmbiBin {

// Frees what an algorithm's init made, then drops the one reference.
template <class T>
struct AlgoDeleter {
    void operator()(AmbiAlgo<T>* algo) const {
        algo->release();
        static_cast<Plx::FObject*>(algo)->release();
    }
};
template <class T>
using AlgoPtr = std::unique_ptr<AmbiAlgo<T>, AlgoDeleter<T>>;

// A side's meters: the peak of the last block per channel, the peak held
// since the values last went out, and the largest of the held peaks.
struct PeakMeters {
    float maximum = 0.0f;
    std::vector<float> current;
    std::vector<float> held;
};

class AmbiBinProcessor : public Plx::AudioEffect, public Plx::IGraphLocation, public IFactoryListener {
public:
    PLX_OBJ_METHODS(AmbiBinProcessor, Plx::AudioEffect, "AmbiBinProcessor")
    PLX_REFCOUNT_METHODS(Plx::AudioEffect)
    Plx::tresult queryInterface(const Plx::TUID& iid, void** obj) override;

    using SpeakerArrangement = Plx::SpeakerArrangement;
    using tresult = Plx::tresult;
    using int32 = Plx::int32;

    // The meters go out every 20 ms.
    static constexpr int32 kMetersPerSecond = 50;
    // The aux input's delay line holds at least this much, more when the
    // algorithm's latency needs it.
    static constexpr float kAuxDelayMs = 200.0f;

    AmbiBinProcessor();

    // IPluginBase
    tresult initialize(Plx::FUnknown* context) override;
    tresult terminate() override;
    // IConnectionPoint: connect sends what waited for a peer.
    tresult connect(Plx::IConnectionPoint* other) override;
    tresult notify(Plx::IMessage* message) override;
    // IComponent
    tresult setActive(Plx::TBool state) override;
    tresult setState(Plx::IPlxStream* stream) override;
    tresult getState(Plx::IPlxStream* stream) override;
    // IAudioProcessor. Arrangements and setup are refused while active.
    tresult setBusArrangements(SpeakerArrangement* inputs, int32 numIns, SpeakerArrangement* outputs,
                               int32 numOuts) override;
    tresult canProcessSampleSize(int32 symbolicSampleSize) override;
    Plx::uint32 getLatencySamples() override;
    tresult setupProcessing(Plx::PlxProcessSetup* setup) override;
    tresult process(Plx::PlxProcessData* data) override;
    // IGraphLocation
    tresult setGraphLocation(int32 location, int32 position) override;
    // IFactoryListener: a personal profile's status goes to the controller as "Embody".
    void onFactoryStatus(const char* username, int32_t status) override;

    // Views for tests of the class itself.
    int32 getAlgoType() const { return algoType; }
    int32 getOrder() const { return order; }
    bool isConfigured() const { return configured; }
    bool areArrangementsValid() const { return arrangementsValid; }

private:
    // The steps of activation; 0 when the processor can run, 1 when it stays silent.
    int32 configure();
    template <class T>
    int32 configureAlgo(AmbiAlgo<T>& algo);
    template <class T>
    AlgoPtr<T> makeAlgo(int32 type);
    void destroyAlgorithms();
    void allocateBlockBuffers();
    void freeBlockBuffers();
    void buildAuxDelay();
    // The type that the output and the stereo mode ask for.
    int32 chooseAlgoType() const;
    // Order never above that of the input arrangement, never below 1.
    void clampOrder();
    // The output bus replaced by one of `arrangement`, with the stream stopped.
    void rebuildOutputBus(SpeakerArrangement arrangement);

    template <class T>
    AmbiAlgo<T>* algorithm() const;
    template <class T>
    tresult processBlock(Plx::PlxProcessData& data);
    // The speaker algorithm's LFE settings from the parameter copies.
    void updateSpeakerLfe();
    void readParameterChanges(Plx::IPlxParameterChanges* changes, bool& lfeDirty);
    template <class T>
    void applyRotationAndFocus(AmbiAlgo<T>& algo);
    void sendMeters(Plx::IPlxParameterChanges* changes);

    ProcessorState stateFromFields() const;
    void sendIntMessage(const char* id, const char* attribute, Plx::int64 value);
    void sendStringMessage(const char* id, const char* attribute, const std::string& utf8);
    void sendSpeakerConf(SpeakerArrangement in, SpeakerArrangement out);
    // Sends now, or keeps the message (the last of each ID) until a peer connects.
    void post(Plx::IMessage* message);
    bool takeSofaName(Plx::IMessage* message);

    AlgoPtr<float> floatAlgo;
    AlgoPtr<double> doubleAlgo;
    // The HRIR sets of the binaural algorithm, one bank per sample size: a set
    // built once (a SOFA file, resampled) stays for later activations.
    HrirBank<float> floatBank;
    HrirBank<double> doubleBank;
    IAmbiSpeakerAlgo* speakerFace = nullptr; // of the speaker algorithm, while it lives
    std::unique_ptr<DSP::Algo32::DelayMultiCh> auxDelay32;
    std::unique_ptr<DSP::Algo64::DelayMultiCh> auxDelay64;
    float** auxBuffer32 = nullptr;
    double** auxBuffer64 = nullptr;
    // Finite copies of an input block that held NaN or infinite samples.
    float** cleanInput32 = nullptr;
    double** cleanInput64 = nullptr;
    int32 bufferChannels = 0; // the input channels of cleanInput
    int32 bufferFrames = 0;   // frames of each block buffer
    SpeakerArrangement outputArrangement = 0;
    int32 numInputs = 4;
    int32 numOutputs = 2;
    SpeakerArrangement requestedArrangement = 0;
    int32 order = 1;
    int32 previousOrder = 1;
    std::string sofaName; // UTF-8
    int32 hrirMode = 1;
    // Parameter copies, normalised.
    double yaw = 0.5, pitch = 0.5, roll = 0.5;
    double auxGain = 1;
    double lfeGain = 0;
    double lfeLowPass = 0;
    double focusAzimuth = 0.5, focusElevation = 0.5, focusSize = 0.333, focusAttenuation = 1;
    double focusFollow = 1;
    double focusOn = 0;
    Plx::int64 meterCounter = 0;
    Plx::int64 meterInterval = 882;
    PeakMeters inputPeaks;
    PeakMeters outputPeaks;
    int32 algoType = 0;
    int32 configuredSampleSize = Plx::kSample32;
    bool auxBusActive = true; // the host's switch of the aux bus, taken at activation
    bool usedAsPanner = false;
    bool active = false;
    bool stereoModeBinaural = true;
    bool arrangementsValid = false;
    bool algoTypeDirty = true;
    bool configured = false;
    bool forceReload = false;
    std::vector<Plx::IPtr<Plx::IMessage>> pendingMessages;
};

} // namespace Tannhofen::AmbiBin
