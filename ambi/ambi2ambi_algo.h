// Ambisonics to ambisonics: the rotated (and focused) input goes out as it is.
// An output of higher order than the input gets silence in the channels above
// the input's; one of lower order keeps the input's first channels.
#pragma once

#include "ambi/ambi_algo.h"

namespace Tannhofen::AmbiBin {

template <class T>
class Ambi2AmbiAlgo : public AmbiAlgo<T> {
public:
    explicit Ambi2AmbiAlgo(int32_t numOutputs) : AmbiAlgo<T>(numOutputs, AmbiAlgo<T>::kAmbisonic) {}
    ~Ambi2AmbiAlgo() override;

    PLX_OBJ_METHODS(Ambi2AmbiAlgo, AmbiAlgo<T>, "Ambi2AmbiAlgo")

    // Inputs and outputs of 4, 9 or 16 channels; anything else is refused (1).
    int32_t setChannels(uint32_t inputs, uint32_t outputs) override;
    int32_t init() override;
    void freeBuffers() override;
    // Up to workFrames() frames; any frames beyond are given silence, as is
    // every block of an algorithm whose init was refused.
    void processBlock(T** in, T** out, uint32_t frames) override;

    T** rotated = nullptr; // the stages' result, one block per input channel

private:
    void freeRotated();
};

extern template class Ambi2AmbiAlgo<float>;
extern template class Ambi2AmbiAlgo<double>;

} // namespace Tannhofen::AmbiBin
