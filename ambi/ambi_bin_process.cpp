// The audio path of AmbiBinProcessor: one host block, from the parameter
// changes through the algorithm and the aux mix to the meters.
#include <algorithm>

#include "ambi/ambi_bin_processor.h"
#include "ambi/ambi_params.h"
#include "ambi/block_guard.h"
#include "ambi/level_law.h"
#include "ambi/normalized.h"
#include "dsp/vec/vec.h"
#include "frame/iparameterchanges.h"

namespace Tannhofen::AmbiBin {

using namespace Plx;

namespace {

// The channel pointers of a bus, when it has at least `needed` and none is null.
template <class T>
T** usableChannels(PlxAudioBuffers& bus, uint32_t needed) {
    T** channels = channelBuffers<T>(bus);
    if (!channels || bus.numChannels < static_cast<int32>(needed)) return nullptr;
    for (uint32_t c = 0; c < needed; ++c)
        if (!channels[c]) return nullptr;
    return channels;
}

template <class T>
void zeroBus(PlxAudioBuffers& bus, int32 frames) {
    T** channels = channelBuffers<T>(bus);
    if (!channels || frames <= 0) return;
    for (int32 c = 0; c < bus.numChannels; ++c)
        if (channels[c]) DSP::Vec::zero(channels[c], static_cast<size_t>(frames));
    bus.silenceFlags = bus.numChannels >= 64 ? ~uint64(0) : (uint64(1) << bus.numChannels) - 1;
}

// A normalised parameter value as a switch.
double switchValue(double v) {
    return v >= 0.5 ? 1.0 : 0.0;
}

} // namespace

template <class T>
AmbiAlgo<T>* AmbiBinProcessor::algorithm() const {
    if constexpr (sizeof(T) == sizeof(float))
        return floatAlgo.get();
    else
        return doubleAlgo.get();
}

tresult AmbiBinProcessor::process(PlxProcessData* data) {
    if (!data) return kInvalidArgument;
    if (data->symbolicSampleSize == kSample64) return processBlock<double>(*data);
    if (data->symbolicSampleSize == kSample32) return processBlock<float>(*data);
    return kInvalidArgument;
}

void AmbiBinProcessor::readParameterChanges(IPlxParameterChanges* changes, bool& lfeDirty) {
    if (!changes) return;
    const int32 count = changes->getParameterCount();
    for (int32 q = 0; q < count; ++q) {
        IParamValueQueue* queue = changes->getParameterData(q);
        const int32 points = queue ? queue->getPointCount() : 0;
        int32 offset = 0;
        ParamValue value = 0;
        // The last point of the block alone counts.
        if (points <= 0 || queue->getPoint(points - 1, &offset, &value) != kResultOk) continue;
        if (!normalizedValue(value, value)) continue;
        switch (static_cast<int32>(queue->getParameterId())) {
        case ParamId::kYaw: yaw = value; break;
        case ParamId::kPitch: pitch = value; break;
        case ParamId::kRoll: roll = value; break;
        case ParamId::kAuxGain: auxGain = value; break;
        case ParamId::kLfeGain: lfeGain = value, lfeDirty = true; break;
        case ParamId::kLfeLowPass: lfeLowPass = switchValue(value), lfeDirty = true; break;
        case ParamId::kFocusOn: focusOn = switchValue(value), lfeDirty = true; break;
        case ParamId::kFocusAzimuth: focusAzimuth = value, lfeDirty = true; break;
        case ParamId::kFocusElevation: focusElevation = value, lfeDirty = true; break;
        case ParamId::kFocusSize: focusSize = value, lfeDirty = true; break;
        case ParamId::kFocusAttenuation: focusAttenuation = value, lfeDirty = true; break;
        case ParamId::kFocusFollow: focusFollow = switchValue(value), lfeDirty = true; break;
        default: break;
        }
    }
}

template <class T>
void AmbiBinProcessor::applyRotationAndFocus(AmbiAlgo<T>& algo) {
    algo.rotation.setYaw(yaw);
    algo.rotation.setPitch(pitch);
    algo.rotation.setRoll(roll);
    algo.setFocusAzimuth(focusAzimuth);
    algo.setFocusElevation(focusElevation);
    algo.setFocusSize(focusSize);
    algo.setFocusAttenuation(focusAttenuation);
    algo.focusOn = focusOn;
    algo.focusFollow = focusFollow;
}

template <class T>
tresult AmbiBinProcessor::processBlock(PlxProcessData& data) {
    const int32 n = data.numSamples;
    if (n < 0) return kInvalidArgument;
    PlxAudioBuffers* outBus = data.numOutputs > 0 && data.outputs ? &data.outputs[0] : nullptr;
    auto silence = [&](tresult result) {
        if (outBus) zeroBus<T>(*outBus, n);
        return result;
    };
    // The parameters are taken even from a block that can't be decoded, so
    // that they are in place when it can.
    bool lfeDirty = false;
    readParameterChanges(data.inputParameterChanges, lfeDirty);
    if (!arrangementsValid) return silence(kResultFalse);
    AmbiAlgo<T>* algo = algorithm<T>();
    if (!active || !configured || !algo || data.symbolicSampleSize != configuredSampleSize)
        return silence(kResultFalse);
    if (n > bufferFrames) return silence(kInvalidArgument);
    applyRotationAndFocus(*algo);
    if (data.numInputs <= 0 || !data.inputs || !outBus) return kResultOk;

    PlxAudioBuffers& inBus = data.inputs[0];
    const uint32_t ins = algo->inputChannels;
    const uint32_t outs = algo->outputChannels;
    if (algoType == AmbiAlgo<T>::kAmbisonic &&
        (inBus.numChannels != static_cast<int32>(ins) || outBus->numChannels != static_cast<int32>(outs)))
        return silence(kResultFalse);
    T** in = usableChannels<T>(inBus, ins);
    T** out = usableChannels<T>(*outBus, outs);
    if (!in || !out) return silence(kResultFalse);
    if (n == 0) return kResultOk;
    const auto frames = static_cast<uint32_t>(n);

    // Input meters, and a finite copy of a block that needs one.
    bool finite = true;
    const uint32_t metered = std::min<uint32_t>(ins, static_cast<uint32_t>(inputPeaks.current.size()));
    for (uint32_t c = 0; c < ins; ++c) {
        float peak = 0.0f;
        finite = finitePeak(in[c], frames, peak) && finite;
        if (c < metered) inputPeaks.current[c] = peak;
    }
    T** clean = nullptr;
    if constexpr (sizeof(T) == sizeof(float))
        clean = cleanInput32;
    else
        clean = cleanInput64;
    if (!finite && clean && static_cast<uint32_t>(bufferChannels) >= ins) {
        for (uint32_t c = 0; c < ins; ++c) {
            copyFinite(in[c], clean[c], frames);
            if (c < metered) finitePeak(clean[c], frames, inputPeaks.current[c]);
        }
        in = clean;
    }
    for (uint32_t c = 0; c < metered; ++c) {
        inputPeaks.held[c] = std::max(inputPeaks.held[c], inputPeaks.current[c]);
        inputPeaks.maximum = std::max(inputPeaks.maximum, inputPeaks.current[c]);
    }

    // The head-locked input is taken before the algorithm writes the output,
    // which may share its memory.
    T** aux = nullptr;
    if constexpr (sizeof(T) == sizeof(float))
        aux = auxBuffer32;
    else
        aux = auxBuffer64;
    int32 auxChannels = 0;
    if (aux && auxBusActive && algoType != AmbiAlgo<T>::kAmbisonic && data.numInputs >= 2) {
        PlxAudioBuffers& auxBus = data.inputs[1];
        T** auxIn = channelBuffers<T>(auxBus);
        auxChannels = auxIn ? std::clamp(auxBus.numChannels, 0, 2) : 0;
        for (int32 c = 0; c < 2; ++c) {
            if (c < auxChannels && auxIn[c])
                copyFinite(auxIn[c], aux[c], frames);
            else
                DSP::Vec::zero(aux[c], frames);
        }
    }

    switch (algoType) {
    case AmbiAlgo<T>::kBinaural: algo->process(in, out, frames); break;
    case AmbiAlgo<T>::kSpeaker:
        if (lfeDirty) updateSpeakerLfe();
        algo->processBlock(in, out, frames);
        break;
    default: algo->processBlock(in, out, frames); break;
    }
    for (int32 c = static_cast<int32>(outs); c < outBus->numChannels; ++c)
        if (out[c]) DSP::Vec::zero(out[c], frames);

    if (auxChannels > 0) {
        if constexpr (sizeof(T) == sizeof(float))
            auxDelay32->process32(aux, aux, n);
        else
            auxDelay64->process64(aux, aux, n);
        const T gain = static_cast<T>(gainLaw(auxGain));
        const int32 mixed = std::min(outBus->numChannels, auxChannels);
        for (int32 c = 0; c < mixed; ++c) DSP::Vec::addProductC(aux[c], gain, out[c], frames);
    }

    // Output meters. An output that isn't finite (a filter driven out of
    // range) is silenced, and the algorithm starts again from silence.
    bool outputFinite = true;
    for (uint32_t c = 0; c < outs; ++c) {
        float peak = 0.0f;
        outputFinite = finitePeak(out[c], frames, peak) && outputFinite;
        if (c < outputPeaks.current.size()) outputPeaks.current[c] = peak;
    }
    if (!outputFinite) {
        zeroBus<T>(*outBus, n);
        algo->reset();
        if constexpr (sizeof(T) == sizeof(float))
            auxDelay32->reset();
        else
            auxDelay64->reset();
        std::fill(outputPeaks.current.begin(), outputPeaks.current.end(), 0.0f);
    }
    outBus->silenceFlags = 0;
    for (size_t c = 0; c < outputPeaks.current.size(); ++c) {
        outputPeaks.held[c] = std::max(outputPeaks.held[c], outputPeaks.current[c]);
        outputPeaks.maximum = std::max(outputPeaks.maximum, outputPeaks.current[c]);
    }

    meterCounter += n;
    if (meterCounter >= meterInterval && data.outputParameterChanges) {
        sendMeters(data.outputParameterChanges);
        meterCounter = 0;
    }
    return kResultOk;
}

void AmbiBinProcessor::sendMeters(IPlxParameterChanges* changes) {
    auto put = [changes](int32 id, float& value) {
        int32 index = 0;
        if (IParamValueQueue* queue = changes->addParameterData(static_cast<ParamID>(id), &index))
            queue->addPoint(0, value, &index);
        value = 0.0f;
    };
    auto putSide = [&put](PeakMeters& meters, int32 first, int32 count, int32 maxId) {
        for (size_t c = 0; c < meters.held.size(); ++c) {
            if (static_cast<int32>(c) < count)
                put(first + static_cast<int32>(c), meters.held[c]);
            else
                meters.held[c] = 0.0f;
        }
        put(maxId, meters.maximum);
    };
    putSide(outputPeaks, ParamId::kOutputMeterFirst, ParamId::kOutputMeterCount, ParamId::kOutputMeterMax);
    putSide(inputPeaks, ParamId::kInputMeterFirst, ParamId::kInputMeterCount, ParamId::kInputMeterMax);
}

template tresult AmbiBinProcessor::processBlock<float>(PlxProcessData&);
template tresult AmbiBinProcessor::processBlock<double>(PlxProcessData&);
template void AmbiBinProcessor::applyRotationAndFocus<float>(AmbiAlgo<float>&);
template void AmbiBinProcessor::applyRotationAndFocus<double>(AmbiAlgo<double>&);
template AmbiAlgo<float>* AmbiBinProcessor::algorithm<float>() const;
template AmbiAlgo<double>* AmbiBinProcessor::algorithm<double>() const;

} // namespace Tannhofen::AmbiBin
