#include "mix/gain_publisher.h"

#include <cmath>
#include <cstring>

#include "mix/tolerance.h"

namespace Tannhofen::Mix {

void GainPublisher::allocate(int32_t rows, int32_t cols) {
    buffers[0].allocate(rows, cols);
    buffers[1].allocate(rows, cols);
    lastSent.allocate(rows, cols);
    // Nothing sent yet: the first publish must reach the editor even when it is all zeros.
    std::fill(lastSent.data.begin(), lastSent.data.end(), NAN);
    writeIndex = 0;
    readIndex = -1;
    pendingCount = 0;
}

void GainPublisher::release() {
    buffers[0].release();
    buffers[1].release();
    lastSent.release();
    pendingCount = 0;
}

void GainPublisher::publish(const MixMatrix& matrix) {
    if (!matrix.allocated || matrix.data.size() != buffers[0].data.size() || !buffers[0].allocated) return;
    int32_t index = writeIndex.load(std::memory_order_acquire);
    if (index == readIndex.load(std::memory_order_seq_cst)) index = 1 - index;
    std::memcpy(buffers[index].data.data(), matrix.data.data(), matrix.data.size() * sizeof(float));
    writeIndex.store(1 - index, std::memory_order_release);
    pendingCount.store(2, std::memory_order_release);
}

bool GainPublisher::changedFrom(const MixMatrix& latest) const {
    for (size_t i = 0; i < latest.data.size(); ++i)
        if (!(std::fabs(latest.data[i] - lastSent.data[i]) <= kFlagTolerance)) return true;
    return false;
}

} // namespace Tannhofen::Mix
