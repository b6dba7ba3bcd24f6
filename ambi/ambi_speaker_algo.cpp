#include "ambi/ambi_speaker_algo.h"

#include <algorithm>
#include <bit>
#include <new>

#include "ambi/speaker_decode.h"
#include "ambi/speaker_decoders.h"
#include "dsp/vec/vec.h"

namespace Tannhofen::AmbiBin {

namespace Detail = DSP::Audio::CollectorDetail;

namespace {

// Output channel of a speaker bit: the set bits below it, or -1 if it is not set.
int32_t channelOf(Plx::SpeakerArrangement arrangement, Plx::SpeakerArrangement speaker) {
    return (arrangement & speaker) ? std::popcount(arrangement & (speaker - 1)) : -1;
}

} // namespace

template <class T>
AmbiSpeakerAlgo<T>::~AmbiSpeakerAlgo() {
    freeSpeakerBuffers();
}

template <class T>
bool AmbiSpeakerAlgo<T>::setSpeakerConf(int32_t order, Plx::SpeakerArrangement arrangement) {
    this->numOutputs = Plx::channelCount(arrangement);
    numSphericalChannels =
        order >= kMinDecoderOrder && order <= kMaxDecoderOrder ? uint32_t((order + 1) * (order + 1)) : 0;
    lfeIndex = channelOf(arrangement, Plx::Speaker::LFE);
    lfe2Index = channelOf(arrangement, Plx::Speaker::LFE2);
    decoderMatrix = findSpeakerDecoder(order, arrangement);
    return decoderMatrix != nullptr;
}

template <class T>
void AmbiSpeakerAlgo<T>::setLfeGain(double gain) {
    lfeGain = clampLfeGain(gain);
}

template <class T>
void AmbiSpeakerAlgo<T>::setLfeLowPass(bool on) {
    lfeLowPass = on;
}

template <class T>
void* AmbiSpeakerAlgo<T>::ambiInterface(const Plx::TUID& iid) {
    if (Plx::equalTUID(iid, IAmbiSpeakerAlgo::iid)) return static_cast<IAmbiSpeakerAlgo*>(this);
    return AmbiAlgo<T>::ambiInterface(iid);
}

template <class T>
int32_t AmbiSpeakerAlgo<T>::init() {
    freeSpeakerBuffers();
    const int32_t result = AmbiAlgo<T>::init();
    if (result != AmbiAlgo<T>::kInitDone) return result;
    lfeFilter.reset(new (std::nothrow) DSP::WideFrame::FilterFade<T>(
        this->sampleRate, int32_t(this->frameCapacity), kLfeFadeMs, 1));
    const bool filterMade = lfeFilter && lfeFilter->init() == 0;
    Detail::allocateChannelArray(rotated, this->inputChannels, this->frameCapacity);
    // Only a failed allocation stops us here: stay silent rather than run half-built.
    if (!filterMade || rotated == nullptr) {
        freeBuffers();
        return AmbiAlgo<T>::kInitRefused;
    }
    lfeFilter->reset();
    lfeFilter->setFilterOff(false);
    lfeFilter->setFilter(0, kLfeCutoffHz, kLfeQuality);
    return result;
}

template <class T>
void AmbiSpeakerAlgo<T>::freeSpeakerBuffers() {
    if (lfeFilter) lfeFilter->release();
    lfeFilter.reset();
    Detail::freeChannelArray(rotated, this->inputChannels);
}

template <class T>
void AmbiSpeakerAlgo<T>::freeBuffers() {
    freeSpeakerBuffers();
    AmbiAlgo<T>::freeBuffers();
}

template <class T>
void AmbiSpeakerAlgo<T>::processBlock(T** in, T** out, uint32_t frames) {
    if (out == nullptr || frames == 0) return;
    const uint32_t outputs = std::min(uint32_t(std::max(this->numOutputs, 0)), this->outputChannels);
    const bool runs = in != nullptr && rotated != nullptr && decoderMatrix != nullptr &&
                      numSphericalChannels == this->inputChannels;
    const uint32_t done = runs ? std::min(frames, this->workFrames()) : 0;
    if (done > 0) {
        this->processStages(in, rotated, done);
        decodeFrames(decoderMatrix, outputs, numSphericalChannels, rotated, out, done);
        if (lfeGain > 0 && lfeIndex >= 0 && uint32_t(lfeIndex) < outputs) {
            const int32_t second = lfe2Index >= 0 && uint32_t(lfe2Index) < outputs ? lfe2Index : -1;
            writeLfeSum(out, outputs, done, T(float(lfeGain)), lfeIndex, second);
            // One filter, one state: LFE first, then LFE2 continuing from it.
            if (lfeLowPass && lfeFilter) {
                lfeFilter->processMono(lfeFilter.get(), out[lfeIndex], out[lfeIndex], int32_t(done));
                if (second >= 0)
                    lfeFilter->processMono(lfeFilter.get(), out[second], out[second], int32_t(done));
            }
        }
    }
    for (uint32_t c = 0; c < this->outputChannels; ++c) {
        if (out[c] == nullptr) continue;
        const uint32_t from = c < outputs ? done : 0;
        DSP::Vec::zero(out[c] + from, frames - from);
    }
}

template class AmbiSpeakerAlgo<float>;
template class AmbiSpeakerAlgo<double>;

} // namespace Tannhofen::AmbiBin
