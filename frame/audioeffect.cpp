#include "frame/audioeffect.h"

namespace Tannhofen::Plx {

AudioEffect::~AudioEffect() = default;

tresult AudioEffect::queryInterface(const TUID& iid, void** obj) {
    if (!obj) return kInvalidArgument;
    PLX_QUERY_INTERFACE(iid, obj, IAudioProcessor)
    PLX_QUERY_INTERFACE(iid, obj, IProcessContextRequirements)
    return Component::queryInterface(iid, obj);
}

AudioBus* AudioEffect::addAudioInput(const char16* name, SpeakerArrangement arr, int32 busType, int32 flags) {
    auto* bus = new AudioBus(name, busType, flags, arr);
    audioInputs.append(bus);
    return bus;
}

AudioBus* AudioEffect::addAudioOutput(const char16* name, SpeakerArrangement arr, int32 busType,
                                      int32 flags) {
    auto* bus = new AudioBus(name, busType, flags, arr);
    audioOutputs.append(bus);
    return bus;
}

AudioBus* AudioEffect::getAudioInput(int32 index) {
    return FCast<AudioBus>(audioInputs.at(index));
}
AudioBus* AudioEffect::getAudioOutput(int32 index) {
    return FCast<AudioBus>(audioOutputs.at(index));
}

tresult AudioEffect::setBusArrangements(SpeakerArrangement* inputs, int32 numIns, SpeakerArrangement* outputs,
                                        int32 numOuts) {
    if (numIns < 0 || numOuts < 0 || (numIns > 0 && !inputs) || (numOuts > 0 && !outputs))
        return kInvalidArgument;
    if (numIns > audioInputs.size() || numOuts > audioOutputs.size()) return kResultFalse;
    for (int32 i = 0; i < numIns; ++i)
        if (AudioBus* bus = getAudioInput(i)) bus->setArrangement(inputs[i]);
    for (int32 i = 0; i < numOuts; ++i)
        if (AudioBus* bus = getAudioOutput(i)) bus->setArrangement(outputs[i]);
    return kResultOk;
}

tresult AudioEffect::getBusArrangement(int32 dir, int32 index, SpeakerArrangement* arr) {
    BusList* list = getBusList(kAudio, dir);
    Bus* bus = list ? list->at(index) : nullptr;
    if (!bus || !arr) return kInvalidArgument;
    const AudioBus* audio = FCast<AudioBus>(bus);
    if (!audio) return kResultFalse;
    *arr = audio->getArrangement();
    return kResultOk;
}

tresult AudioEffect::canProcessSampleSize(int32 symbolicSampleSize) {
    return symbolicSampleSize == kSample32 ? kResultOk : kResultFalse;
}

tresult AudioEffect::setupProcessing(PlxProcessSetup* setup) {
    if (!setup) return kInvalidArgument;
    processSetup.maxSamplesPerBlock = setup->maxSamplesPerBlock;
    processSetup.processMode = setup->processMode;
    processSetup.sampleRate = setup->sampleRate;
    if (canProcessSampleSize(setup->symbolicSampleSize) != kResultOk) return kResultFalse;
    processSetup.symbolicSampleSize = setup->symbolicSampleSize;
    return kResultOk;
}

tresult AudioEffect::setProcessing(TBool) {
    return kNotImplemented;
}

tresult AudioEffect::process(PlxProcessData*) {
    return kNotImplemented;
}

} // namespace Tannhofen::Plx
