#include "ambi/ambi_bin_algo.h"

#include <algorithm>

#include "dsp/vec/vec.h"
#include "frame/text.h"

namespace Tannhofen::AmbiBin {

namespace Detail = DSP::Audio::CollectorDetail;

template <class T>
AmbiBinAlgo<T>::AmbiBinAlgo(HrirBank<T>* bank_) : AmbiAlgo<T>(2, AmbiAlgo<T>::kBinaural), bank(bank_) {}

template <class T>
AmbiBinAlgo<T>::~AmbiBinAlgo() {
    freeBinauralBuffers();
}

template <class T>
void* AmbiBinAlgo<T>::ambiInterface(const Plx::TUID& iid) {
    return Plx::equalTUID(iid, IAmbiBin::iid) ? static_cast<IAmbiBin*>(this) : nullptr;
}

template <class T>
int32_t AmbiBinAlgo<T>::setChannels(uint32_t inputs, uint32_t outputs) {
    if (outputs != 2) return 1;
    return AmbiAlgo<T>::setChannels(inputs, outputs);
}

template <class T>
int32_t AmbiBinAlgo<T>::setSampleRate(T rate) {
    const int32_t refused = convolver.setSampleRate(rate);
    AmbiAlgo<T>::setSampleRate(rate);
    return refused;
}

template <class T>
int32_t AmbiBinAlgo<T>::init() {
    freeBinauralBuffers();
    const int32_t result = AmbiAlgo<T>::init();
    if (result != AmbiAlgo<T>::kInitDone) return result;
    const uint32_t inputs = this->inputChannels;
    Detail::allocateChannelArray(rotated, inputs, this->frameCapacity);
    const bool weightingReady = weighting.init(uint32_t(this->order));

    convolver.setChannels(inputs, this->outputChannels);
    convolver.setBlockSize(this->collectBlockSize);
    IHrir<T>* set = bank != nullptr ? bank->getCurrent() : nullptr;
    convolver.hrirLength = set != nullptr ? set->getLength() : 0;
    convolver.left = set != nullptr ? set->getLeft() : nullptr;
    convolver.right = set != nullptr ? set->getRight() : nullptr;
    convolver.symmetric = set != nullptr ? set->isSymmetric() : true;
    weighted = set != nullptr && (set->getMode() == kHrirStandard || set->getMode() == kHrirSofa);

    // A failed allocation leaves the algorithm silent rather than half-built.
    if (convolver.init() != 0 || !weightingReady || rotated == nullptr) {
        freeBuffers();
        return AmbiAlgo<T>::kInitRefused;
    }
    return result;
}

template <class T>
void AmbiBinAlgo<T>::freeBinauralBuffers() {
    Detail::freeChannelArray(rotated, this->inputChannels);
    weighting.release();
    convolver.release();
}

template <class T>
void AmbiBinAlgo<T>::freeBuffers() {
    freeBinauralBuffers();
    AmbiAlgo<T>::freeBuffers();
}

template <class T>
void AmbiBinAlgo<T>::reset() {
    AmbiAlgo<T>::reset();
    if (rotated != nullptr) Detail::zeroChannelArray(rotated, this->inputChannels, this->frameCapacity);
    weighting.reset();
    convolver.reset();
}

template <class T>
void AmbiBinAlgo<T>::processBlock(T** in, T** out, uint32_t frames) {
    if (out == nullptr || out[0] == nullptr || out[1] == nullptr || frames == 0) return;
    const uint32_t done = in != nullptr && rotated != nullptr ? std::min(frames, this->workFrames()) : 0;
    if (done == 0) {
        DSP::Vec::zero(out[0], frames);
        DSP::Vec::zero(out[1], frames);
        return;
    }
    T** work = this->channels;
    for (uint32_t c = 0; c < this->inputChannels; ++c) DSP::Vec::copy(in[c], work[c], done);
    if (weighted) weighting.process(work, done);
    this->processStages(work, rotated, done);
    convolver.process(rotated, out, done);
    DSP::Vec::zero(out[0] + done, frames - done);
    DSP::Vec::zero(out[1] + done, frames - done);
}

template <class T>
Plx::int32 AmbiBinAlgo<T>::setHrir(Plx::int32 mode, float sampleRate, Plx::int32 order,
                                   const Plx::char16* name, IFactoryListener* listenerData,
                                   bool forceReload) {
    if (bank == nullptr) return 0;
    const std::string utf8 = name != nullptr ? Plx::utf16ToUtf8(name) : std::string();
    return bank->select(mode, sampleRate, order >= 1 && order <= 3 ? uint32_t(order) : 0, utf8, listenerData,
                        forceReload);
}

template <class T>
Plx::int32 AmbiBinAlgo<T>::getHrirMode() {
    IHrir<T>* set = bank != nullptr ? bank->getCurrent() : nullptr;
    return set != nullptr ? set->getMode() : 0;
}

template class AmbiBinAlgo<float>;
template class AmbiBinAlgo<double>;

} // namespace Tannhofen::AmbiBin
