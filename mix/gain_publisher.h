// GainPublisher: hands the gain matrix from the audio thread to the timer
// thread without a lock. The audio thread writes into one of two buffers and
// flips to the other; the timer thread reads the buffer that isn't being
// written, and sends it when it differs from what it sent last. The pending
// count is the only atomic; it stays above 0 for two reads after a publish, so
// that a read that raced with a write is repeated.
#pragma once

#include <atomic>
#include <cstdint>

#include "mix/mix_matrix.h"

namespace Tannhofen::Mix {

class GainPublisher {
public:
    // Sizes the buffers; not for the audio thread.
    void allocate(int32_t rows, int32_t cols);
    void release();

    // Audio thread: copies `matrix` when it is allocated and has the buffers' size.
    void publish(const MixMatrix& matrix);

    // Timer thread: when a publish is pending, compares the latest buffer with
    // the last matrix sent and calls send(matrix) when any element differs by
    // more than the flag tolerance. Answers whether send was called.
    template <class Send>
    bool send(Send&& sendMatrix) {
        if (pendingCount.load(std::memory_order_acquire) < 1) return false;
        readIndex.store(1 - writeIndex.load(std::memory_order_acquire), std::memory_order_seq_cst);
        const MixMatrix& latest = buffers[readIndex.load(std::memory_order_relaxed)];
        const bool differs = changedFrom(latest);
        if (differs) {
            lastSent.data = latest.data;
            sendMatrix(lastSent);
        }
        readIndex.store(-1, std::memory_order_release);
        pendingCount.fetch_sub(1, std::memory_order_acq_rel);
        return differs;
    }

    int32_t pending() const { return pendingCount.load(); }
    const MixMatrix& lastSentMatrix() const { return lastSent; }

private:
    bool changedFrom(const MixMatrix& latest) const;

    MixMatrix buffers[2];
    MixMatrix lastSent;
    std::atomic<int32_t> writeIndex{0};
    std::atomic<int32_t> readIndex{-1};
    std::atomic<int32_t> pendingCount{0};
};

} // namespace Tannhofen::Mix
