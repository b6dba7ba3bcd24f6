#include "ambi/ambi_algo.h"

#include <algorithm>
#include <new>

#include "ambi/focus_law.h"
#include "ambi/frame_staging.h"
#include "ambi/normalized.h"
#include "dsp/tool/math/spherical_harmonics.h"
#include "dsp/vec/vec.h"

namespace Tannhofen::AmbiBin {

namespace Math = DSP::Tool::Math;
namespace Detail = DSP::Audio::CollectorDetail;

template <class T>
AmbiAlgo<T>::AmbiAlgo(int32_t numOutputs_, int32_t algoType_)
    : numOutputs(numOutputs_), algoType(algoType_) {}

template <class T>
AmbiAlgo<T>::~AmbiAlgo() {
    freeAmbiBuffers();
}

template <class T>
Plx::tresult AmbiAlgo<T>::queryInterface(const Plx::TUID& iid, void** obj) {
    if (obj == nullptr) return Plx::kInvalidArgument;
    if (void* found = ambiInterface(iid)) {
        addRef();
        *obj = found;
        return Plx::kResultOk;
    }
    return FObject::queryInterface(iid, obj);
}

template <class T>
void* AmbiAlgo<T>::ambiInterface(const Plx::TUID&) {
    return nullptr;
}

template <class T>
int32_t AmbiAlgo<T>::setChannels(uint32_t inputs, uint32_t outputs) {
    if (Math::ambisonicOrder(inputs) == 0 || outputs == 0) return 1;
    return DSP::Audio::SampleCollector2<T>::setChannels(inputs, outputs);
}

template <class T>
bool AmbiAlgo<T>::setOrder(uint32_t newOrder) {
    if (newOrder < 1 || newOrder > 3) return false;
    order = int32_t(newOrder);
    rotation.order = uint16_t(newOrder);
    return true;
}

template <class T>
int32_t AmbiAlgo<T>::init() {
    freeAmbiBuffers();
    const uint32_t inputs = this->inputChannels;
    if (inputs != Math::ambisonicChannels(uint32_t(order)) || this->outputChannels == 0) return kInitRefused;
    if (this->collectBlockSize == 0) this->collectBlockSize = this->blockSize;
    frameCapacity = std::max(this->blockSize, this->collectBlockSize);
    if (frameCapacity == 0) return kInitRefused;

    DSP::Audio::SampleCollector2<T>::init();
    Detail::allocateChannelArray(channels, inputs, frameCapacity);
    for (ColumnMatrix<T>* m : {&focusOutput, &focusInput}) {
        m->maxRows = m->rows = frameCapacity;
        m->maxColumns = m->columns = inputs;
        m->init();
    }
    focus.reset(new (std::nothrow) AmbiFocus<T>(inputs));
    rotation.setBlockSize(frameCapacity);
    rotation.setChannels(inputs, inputs);
    rotation.setSampleRate(this->sampleRate);
    // Only a failed allocation can stop the stages here; the algorithm then
    // stays silent rather than run half-built.
    if (rotation.init() != 0 || !focus || !focus->valid() || channels == nullptr ||
        focusInput.data == nullptr || focusOutput.data == nullptr) {
        freeAmbiBuffers();
        return kInitRefused;
    }
    ready = true;
    return kInitDone;
}

template <class T>
void AmbiAlgo<T>::freeAmbiBuffers() {
    ready = false;
    Detail::freeChannelArray(channels, this->inputChannels);
    focusOutput.release();
    focusInput.release();
    focus.reset();
    rotation.release();
}

template <class T>
void AmbiAlgo<T>::freeBuffers() {
    freeAmbiBuffers();
    DSP::Audio::SampleCollector2<T>::freeBuffers();
}

template <class T>
void AmbiAlgo<T>::reset() {
    DSP::Audio::SampleCollector2<T>::reset();
    if (!ready) return;
    Detail::zeroChannelArray(channels, this->inputChannels, frameCapacity);
    rotation.reset();
    focusOutput.clear();
    focusInput.clear();
}

template <class T>
bool AmbiAlgo<T>::setFocusValue(double v, float AmbiFocus<T>::*field, float (*law)(double)) {
    if (!focus || !normalizedValue(v, v)) return false;
    (*focus).*field = law(v);
    return focus->dirty = true;
}

template <class T>
bool AmbiAlgo<T>::setFocusAzimuth(double v) {
    return setFocusValue(v, &AmbiFocus<T>::azimuth, focusAzimuth);
}

template <class T>
bool AmbiAlgo<T>::setFocusElevation(double v) {
    return setFocusValue(v, &AmbiFocus<T>::elevation, focusElevation);
}

template <class T>
bool AmbiAlgo<T>::setFocusSize(double v) {
    return setFocusValue(v, &AmbiFocus<T>::halfSize, focusHalfSize);
}

template <class T>
bool AmbiAlgo<T>::setFocusAttenuation(double v) {
    return setFocusValue(v, &AmbiFocus<T>::attenuation, focusAttenuation);
}

template <class T>
void AmbiAlgo<T>::focusPass(T** src, T** dst, uint32_t frames) {
    const uint32_t n = this->inputChannels, stride = frameCapacity;
    if (!focus || !focus->valid()) {
        for (uint32_t c = 0; c < n; ++c)
            if (src[c] != dst[c]) DSP::Vec::copy(src[c], dst[c], frames);
        return;
    }
    stageIn(src, 0, n, frames, focusInput.data, stride);
    focus->update();
    mixFrames(focus->transform.data, n, focusInput.data, focusOutput.data, stride, 0, frames);
    stageOut(focusOutput.data, stride, n, frames, dst, 0);
}

template <class T>
void AmbiAlgo<T>::processStages(T** source, T** dest, uint32_t frames) {
    if (!ready || frames == 0) return;
    frames = std::min(frames, frameCapacity);
    if (focusOn == 0) {
        rotation.process(source, dest, frames);
    } else if (focusFollow != 0) {
        rotation.process(source, dest, frames);
        focusPass(dest, dest, frames);
    } else {
        focusPass(source, dest, frames);
        rotation.process(dest, dest, frames);
    }
}

template class AmbiAlgo<float>;
template class AmbiAlgo<double>;

} // namespace Tannhofen::AmbiBin
