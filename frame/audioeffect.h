// AudioEffect: the base of the module's audio processors. It keeps the
// processing setup, creates audio buses and answers the host's processing
// calls with defaults that the processors override.
#pragma once

#include "frame/component.h"
#include "frame/iaudioprocessor.h"

namespace Tannhofen::Plx {

class AudioEffect : public Component, public IAudioProcessor, public IProcessContextRequirements {
public:
    PLX_OBJ_METHODS(AudioEffect, Component, "Plx::AudioEffect")
    PLX_REFCOUNT_METHODS(Component)
    tresult queryInterface(const TUID& iid, void** obj) override;

    // Appends an audio bus; the list keeps it, the result stays valid while it does.
    AudioBus* addAudioInput(const char16* name, SpeakerArrangement arr, int32 busType = kMain,
                            int32 flags = kDefaultActive);
    AudioBus* addAudioOutput(const char16* name, SpeakerArrangement arr, int32 busType = kMain,
                             int32 flags = kDefaultActive);
    // The bus at `index`, if it is an audio bus; null otherwise.
    AudioBus* getAudioInput(int32 index);
    AudioBus* getAudioOutput(int32 index);

    // IAudioProcessor
    tresult setBusArrangements(SpeakerArrangement* inputs, int32 numIns, SpeakerArrangement* outputs,
                               int32 numOuts) override;
    tresult getBusArrangement(int32 dir, int32 index, SpeakerArrangement* arr) override;
    tresult canProcessSampleSize(int32 symbolicSampleSize) override;
    uint32 getLatencySamples() override { return 0; }
    tresult setupProcessing(PlxProcessSetup* setup) override;
    tresult setProcessing(TBool state) override;
    tresult process(PlxProcessData* data) override;
    uint32 getTailSamples() override { return 0; }

    // IProcessContextRequirements
    uint32 getProcessContextRequirements() override { return processContextRequirements; }

    const PlxProcessSetup& getProcessSetup() const { return processSetup; }

protected:
    AudioEffect() = default;
    ~AudioEffect() override;

    PlxProcessSetup processSetup{kRealtime, kSample32, 1024, 44100.0};
    uint32 processContextRequirements = 0;
};

} // namespace Tannhofen::Plx
