// Ambisonics to a fixed speaker layout: the rotated (and focused) input times
// one of the decoder tables, frame by frame, with the LFE rule. Nothing is
// designed at run time: setSpeakerConf picks a finished table.
//
// Configuration, with the stream stopped: setSpeakerConf(order, arrangement),
// then that of AmbiAlgo (setOrder with the same order, setChannels with
// (order + 1)^2 inputs and the arrangement's channel count, block size,
// sample rate), init, reset. setLfeGain and setLfeLowPass run on the audio
// thread before processBlock of the same block, which the processor calls
// directly: no collector on the path, so no latency.
#pragma once

#include <cstdint>
#include <memory>

#include "ambi/ambi_algo.h"
#include "ambi/ambi_interfaces.h"
#include "dsp/algo32/wide_fade.h"
#include "frame/speaker_layouts.h"

namespace Tannhofen::AmbiBin {

template <class T>
class AmbiSpeakerAlgo : public AmbiAlgo<T>, public FObjectInterface<IAmbiSpeakerAlgo, AmbiSpeakerAlgo<T>> {
public:
    // The LFE low-pass: a 120 Hz biquad of quality 1, whose changes fade over 250 ms.
    static constexpr double kLfeCutoffHz = 120.0;
    static constexpr double kLfeQuality = 1.0;
    static constexpr float kLfeFadeMs = 250.0f;

    explicit AmbiSpeakerAlgo(int32_t numOutputs) : AmbiAlgo<T>(numOutputs, AmbiAlgo<T>::kSpeaker) {}
    ~AmbiSpeakerAlgo() override;

    PLX_OBJ_METHODS(AmbiSpeakerAlgo, AmbiAlgo<T>, "AmbiSpeakerAlgo")
    using AmbiAlgo<T>::queryInterface;
    using AmbiAlgo<T>::addRef;
    using AmbiAlgo<T>::release; // the frame's: frees what init made

    // Sets numOutputs to the arrangement's channel count, numSphericalChannels
    // to (order + 1)^2, finds the LFE and LFE2 channels and the table of
    // exactly this order and arrangement. True when there is one. Without one
    // the algorithm has no table and gives silence: a table kept from an
    // earlier layout would be read with the wrong number of rows.
    bool setSpeakerConf(int32_t order, Plx::SpeakerArrangement arrangement);

    // Linear, 0 to 1: NaN and values below 0 are taken as 0, above 1 as 1.
    void setLfeGain(double gain) override;
    void setLfeLowPass(bool on) override;

    int32_t init() override;
    void freeBuffers() override;
    // Decodes up to workFrames() frames; frames beyond, channels beyond the
    // layout's, and every block of an algorithm without a table (or whose
    // table's order differs from its input) are given silence.
    void processBlock(T** in, T** out, uint32_t frames) override;

    const float* decoderMatrix = nullptr; // not owned: one of the constant tables
    T** rotated = nullptr;                // the stages' result, one block per input channel
    std::unique_ptr<DSP::WideFrame::FilterFade<T>> lfeFilter;
    uint32_t numSphericalChannels = 0;
    double lfeGain = 0;
    int32_t lfeIndex = -1;  // output channel of the LFE speaker, or -1
    int32_t lfe2Index = -1; // output channel of the LFE2 speaker, or -1
    bool lfeLowPass = false;

protected:
    void* ambiInterface(const Plx::TUID& iid) override;

private:
    void freeSpeakerBuffers();
};

extern template class AmbiSpeakerAlgo<float>;
extern template class AmbiSpeakerAlgo<double>;

} // namespace Tannhofen::AmbiBin
