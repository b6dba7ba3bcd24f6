#include "ambi/ambi_rotation.h"

#include <algorithm>
#include <cmath>

#include "ambi/frame_staging.h"
#include "ambi/normalized.h"
#include "ambi/rotation_law.h"
#include "dsp/tool/math/spherical_harmonics.h"

namespace Tannhofen::AmbiBin {

using DSP::Tool::Math::ambisonicChannels;
using DSP::Tool::Math::ambisonicOrder;

namespace {

constexpr int kMaxBand = 2 * 3 + 1; // the widest band, of order 3

template <class T>
void store(ColumnMatrix<T>& m, const Turn3& t) {
    for (uint32_t r = 0; r < 3; ++r)
        for (uint32_t c = 0; c < 3; ++c) m.at(r, c) = T(t[r][c]);
}

template <class T>
void setCapacity(ColumnMatrix<T>& m, uint32_t rows, uint32_t columns, uint32_t maxRows, uint32_t maxColumns) {
    m.maxRows = maxRows;
    m.maxColumns = maxColumns;
    m.rows = rows;
    m.columns = columns;
}

template <class T>
void copyMatrix(const ColumnMatrix<T>& from, ColumnMatrix<T>& to) {
    DSP::Vec::copy(from.data, to.data, std::size_t(from.rows) * from.columns);
}

} // namespace

// ---- AmbiRotationMatrix -----------------------------------------------------

template <class T>
bool AmbiRotationMatrix<T>::init() {
    release();
    if (order < 1 || order > 3) return true;
    const uint32_t n = ambisonicChannels(uint32_t(order)), widest = uint32_t(2 * order + 1);
    numChannels = int32_t(n);
    setCapacity<T>(*this, n, n, n, n);
    bool failed = ColumnMatrix<T>::init();
    for (ColumnMatrix<T>* m : {&yawMatrix, &pitchMatrix, &rollMatrix, &rollPitchMatrix, &firstOrderMatrix}) {
        setCapacity(*m, 3, 3, 3, 3);
        failed = m->init() || failed;
    }
    setCapacity(previousBandMatrix, 3, 3, std::max(3u, widest), std::max(3u, widest));
    setCapacity(bandMatrix, 1, 1, widest, widest);
    failed = previousBandMatrix.init() || failed;
    failed = bandMatrix.init() || failed;
    if (failed) release();
    return failed;
}

template <class T>
bool AmbiRotationMatrix<T>::release() {
    ready = false;
    for (ColumnMatrix<T>* m : {&yawMatrix, &pitchMatrix, &rollMatrix, &rollPitchMatrix, &firstOrderMatrix,
                               &previousBandMatrix, &bandMatrix})
        m->release();
    return ColumnMatrix<T>::release();
}

template <class T>
void AmbiRotationMatrix<T>::build(double yaw, double pitch, double roll) {
    if (this->data == nullptr) return;
    yawAngle = yaw;
    pitchAngle = pitch;
    rollAngle = roll;
    const Turn3 y = yawTurn(yaw), p = pitchTurn(pitch), r = rollTurn(roll);
    const Turn3 rp = product(r, p), first = product(rp, y);
    store(yawMatrix, y);
    store(pitchMatrix, p);
    store(rollMatrix, r);
    store(rollPitchMatrix, rp);
    store(firstOrderMatrix, first);

    this->clear();
    this->at(0, 0) = T(1);
    for (uint32_t i = 0; i < 3; ++i)
        for (uint32_t j = 0; j < 3; ++j) this->at(1 + i, 1 + j) = T(first[i][j]);

    // The recursion runs on double bands; each band is stored in T as it is done.
    double previous[kMaxBand * kMaxBand], band[kMaxBand * kMaxBand];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j) previous[i * 3 + j] = first[i][j];
    previousBandMatrix.resize(3, 3);
    store(previousBandMatrix, first);
    for (int l = 2; l <= order; ++l) {
        rotationBand(l, first, previous, band);
        const uint32_t size = uint32_t(2 * l + 1), start = uint32_t(l * l);
        bandMatrix.resize(size, size);
        previousBandMatrix.resize(size, size);
        for (uint32_t m = 0; m < size; ++m)
            for (uint32_t n = 0; n < size; ++n) {
                const T value = T(band[m * size + n]);
                bandMatrix.at(m, n) = value;
                previousBandMatrix.at(m, n) = value;
                this->at(start + m, start + n) = value;
            }
        std::copy(band, band + size * size, previous);
    }
    ready = true;
}

// ---- AmbiRotationAlgo -------------------------------------------------------

template <class T>
int32_t AmbiRotationAlgo<T>::setChannels(uint32_t inputs, uint32_t) {
    if (ambisonicOrder(inputs) == 0) return 1;
    numChannels = inputs;
    return 0;
}

template <class T>
int32_t AmbiRotationAlgo<T>::init() {
    freeMatrices();
    if (order < 1 || order > 3 || numChannels != ambisonicChannels(order) || this->blockSize == 0) return 1;
    rotation.order = order;
    if (rotation.init()) {
        freeMatrices();
        return 1;
    }
    lastYaw = yaw;
    lastPitch = pitch;
    lastRoll = roll;
    rotation.build(yaw, -pitch, -roll);

    const uint32_t n = numChannels;
    setCapacity(previousMatrix, n, n, n, n);
    setCapacity(fadeMatrix, n, n, n, n);
    setCapacity(inputFrames, this->blockSize, n, this->blockSize, n);
    setCapacity(outputFrames, this->blockSize, n, this->blockSize, n);
    bool failed = false;
    for (ColumnMatrix<T>* m : {&previousMatrix, &fadeMatrix, &inputFrames, &outputFrames})
        failed = m->init() || failed;
    if (failed) {
        freeMatrices();
        return 1;
    }
    copyMatrix(rotation, previousMatrix);
    hasTail = this->blockSize > fadeLength;
    ready = true;
    return 0;
}

template <class T>
void AmbiRotationAlgo<T>::freeMatrices() {
    ready = false;
    rotation.release();
    for (ColumnMatrix<T>* m : {&previousMatrix, &fadeMatrix, &inputFrames, &outputFrames}) m->release();
}

template <class T>
int32_t AmbiRotationAlgo<T>::release() {
    freeMatrices();
    return 0;
}

template <class T>
void AmbiRotationAlgo<T>::reset() {
    if (!ready) return;
    inputFrames.clear();
    outputFrames.clear();
    copyMatrix(rotation, previousMatrix);
}

namespace {

// Stores a new angle; true when it differs from the one held.
bool storeAngle(double& field, double angle) {
    const bool changed = angle != field;
    field = angle;
    return changed;
}

} // namespace

template <class T>
bool AmbiRotationAlgo<T>::setYaw(double v) {
    return normalizedValue(v, v) && storeAngle(yaw, -(v * yawScale - yawOffset));
}

template <class T>
bool AmbiRotationAlgo<T>::setPitch(double v) {
    return normalizedValue(v, v) && storeAngle(pitch, v * pitchScale - pitchOffset);
}

template <class T>
bool AmbiRotationAlgo<T>::setRoll(double v) {
    return normalizedValue(v, v) && storeAngle(roll, -(v * rollScale - rollOffset));
}

template <class T>
void AmbiRotationAlgo<T>::rebuild() {
    // Angles written directly by an owner are taken only when finite, so that
    // the matrix always stays finite.
    if (!std::isfinite(yaw)) yaw = lastYaw;
    if (!std::isfinite(pitch)) pitch = lastPitch;
    if (!std::isfinite(roll)) roll = lastRoll;
    lastYaw = yaw;
    lastPitch = pitch;
    lastRoll = roll;
    rotation.build(yaw, -pitch, -roll);
}

template <class T>
void AmbiRotationAlgo<T>::process(T** in, T** out, uint32_t frames) {
    if (!ready || in == nullptr || out == nullptr) return;
    for (uint32_t offset = 0; offset < frames; offset += this->blockSize)
        processPiece(in, out, offset, std::min(this->blockSize, frames - offset));
}

template <class T>
void AmbiRotationAlgo<T>::processPiece(T** in, T** out, uint32_t offset, uint32_t frames) {
    const uint32_t n = numChannels, stride = this->blockSize;
    T* x = inputFrames.data;
    T* y = outputFrames.data;
    if (yaw == lastYaw && pitch == lastPitch && roll == lastRoll) {
        if (yaw == 0 && pitch == 0 && roll == 0) {
            for (uint32_t c = 0; c < n; ++c)
                if (in[c] != out[c]) DSP::Vec::copy(in[c] + offset, out[c] + offset, frames);
            return;
        }
        stageIn(in, offset, n, frames, x, stride);
        mixFrames(rotation.data, n, x, y, stride, 0, frames);
        stageOut(y, stride, n, frames, out, offset);
        return;
    }

    rebuild();
    stageIn(in, offset, n, frames, x, stride);
    // The fade: steps of fadeStep frames, each with the matrix at p / F of the
    // way, so that the last step stays short of the target.
    const uint32_t fade = std::min(frames, fadeLength);
    const std::size_t count = std::size_t(n) * n;
    const T* previous = previousMatrix.data;
    const T* current = rotation.data;
    for (uint32_t p = 0; p < fade; p += fadeStep) {
        const T t = T(float(p) / float(fade));
        for (std::size_t i = 0; i < count; ++i)
            fadeMatrix.data[i] = previous[i] + (current[i] - previous[i]) * t;
        mixFrames(fadeMatrix.data, n, x, y, stride, p, std::min(fadeStep, fade - p));
    }
    if (fade < frames) mixFrames(current, n, x, y, stride, fade, frames - fade);
    stageOut(y, stride, n, frames, out, offset);
    copyMatrix(rotation, previousMatrix);
}

template class AmbiRotationMatrix<float>;
template class AmbiRotationMatrix<double>;
template class AmbiRotationAlgo<float>;
template class AmbiRotationAlgo<double>;

} // namespace Tannhofen::AmbiBin
