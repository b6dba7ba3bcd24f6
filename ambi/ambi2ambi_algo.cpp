#include "ambi/ambi2ambi_algo.h"

#include <algorithm>

#include "dsp/tool/math/spherical_harmonics.h"
#include "dsp/vec/vec.h"

namespace Tannhofen::AmbiBin {

namespace Detail = DSP::Audio::CollectorDetail;

template <class T>
Ambi2AmbiAlgo<T>::~Ambi2AmbiAlgo() {
    freeRotated();
}

template <class T>
int32_t Ambi2AmbiAlgo<T>::setChannels(uint32_t inputs, uint32_t outputs) {
    if (DSP::Tool::Math::ambisonicOrder(outputs) == 0) return 1;
    return AmbiAlgo<T>::setChannels(inputs, outputs);
}

template <class T>
int32_t Ambi2AmbiAlgo<T>::init() {
    const int32_t result = AmbiAlgo<T>::init();
    if (result != AmbiAlgo<T>::kInitDone) return result;
    Detail::allocateChannelArray(rotated, this->inputChannels, this->frameCapacity);
    return result;
}

template <class T>
void Ambi2AmbiAlgo<T>::freeRotated() {
    Detail::freeChannelArray(rotated, this->inputChannels);
}

template <class T>
void Ambi2AmbiAlgo<T>::freeBuffers() {
    freeRotated();
    AmbiAlgo<T>::freeBuffers();
}

template <class T>
void Ambi2AmbiAlgo<T>::processBlock(T** in, T** out, uint32_t frames) {
    if (out == nullptr || frames == 0) return;
    const uint32_t done = in != nullptr && rotated != nullptr ? std::min(frames, this->workFrames()) : 0;
    if (done > 0) this->processStages(in, rotated, done);
    for (uint32_t c = 0; c < this->outputChannels; ++c) {
        if (out[c] == nullptr) continue;
        if (c < this->inputChannels && done > 0) DSP::Vec::copy(rotated[c], out[c], done);
        if (c >= this->inputChannels) DSP::Vec::zero(out[c], done);
        DSP::Vec::zero(out[c] + done, frames - done);
    }
}

template class Ambi2AmbiAlgo<float>;
template class Ambi2AmbiAlgo<double>;

} // namespace Tannhofen::AmbiBin
