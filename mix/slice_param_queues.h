// SliceParamQueues: the parameter values that each slice of an audio block
// applies, one fixed-capacity queue per slice. Filled from the host's
// parameter changes and emptied on the audio thread; sized beforehand.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <vector>

#include "frame/iparameterchanges.h"
#include "mix/tolerance.h"

namespace Tannhofen::Mix {

class SliceParamQueue {
public:
    struct Entry {
        int32_t id;
        double value;
    };

    explicit SliceParamQueue(int32_t capacity) : entries(static_cast<size_t>(capacity > 0 ? capacity : 0)) {}

    // False when full; the value is dropped.
    bool push(int32_t id, double value) {
        if (used >= static_cast<int32_t>(entries.size())) return false;
        entries[static_cast<size_t>(used++)] = {id, value};
        return true;
    }
    // Takes from the end; false when empty.
    bool pop(Entry& entry) {
        if (used == 0) return false;
        entry = entries[static_cast<size_t>(--used)];
        return true;
    }
    void clear() { used = 0; }
    int32_t size() const { return used; }
    int32_t capacity() const { return static_cast<int32_t>(entries.size()); }

private:
    std::vector<Entry> entries;
    int32_t used = 0;
};

class SliceParamQueues {
public:
    SliceParamQueues(int32_t slices, int32_t capacity) : capacity(capacity) { resize(slices); }

    // Not for the audio thread.
    void resize(int32_t slices) {
        queues.resize(static_cast<size_t>(slices > 0 ? slices : 0), SliceParamQueue(capacity));
    }
    int32_t count() const { return static_cast<int32_t>(queues.size()); }
    // Null for a slice beyond the count.
    SliceParamQueue* at(int32_t slice) {
        return slice >= 0 && slice < count() ? &queues[static_cast<size_t>(slice)] : nullptr;
    }
    void clearAll() {
        for (auto& q : queues) q.clear();
    }

    // Spreads the host's changes of a block of `numSamples` over its slices
    // of `sliceLength`: each slice gets the value at its last sample, on the
    // straight line between the points around it, when that value differs
    // from the one sent before by more than the gain tolerance. Before its
    // first point a parameter keeps `current(id)`.
    template <class Current>
    void fill(Plx::IPlxParameterChanges* changes, int32_t numSamples, int32_t sliceLength, Current&& current);

private:
    int32_t capacity;
    std::vector<SliceParamQueue> queues;
};

template <class Current>
void SliceParamQueues::fill(Plx::IPlxParameterChanges* changes, int32_t numSamples, int32_t sliceLength,
                            Current&& currentOf) {
    const int32_t last = numSamples - 1;
    if (last < 0 || !changes) return;
    for (int32_t q = changes->getParameterCount() - 1; q >= 0; --q) {
        Plx::IParamValueQueue* queue = changes->getParameterData(q);
        const int32_t points = queue ? queue->getPointCount() : 0;
        if (points <= 0) continue;
        const auto id = static_cast<int32_t>(queue->getParameterId());
        double current = currentOf(id);
        double sent = current;
        int32_t lastOffset = 0;
        int32_t slice = 0;
        int32_t target = std::min(sliceLength - 1, last);
        bool done = false;
        auto push = [&](double value) {
            if (std::fabs(value - sent) > kGainTolerance) {
                if (SliceParamQueue* sq = at(slice)) sq->push(id, value);
                sent = value;
            }
        };
        for (int32_t p = 0; p < points && !done; ++p) {
            int32_t offset = 0;
            Plx::ParamValue value = 0.0;
            if (queue->getPoint(p, &offset, &value) != Plx::kResultOk) continue;
            // A point without a number is no point: the lane keeps its course.
            if (std::isnan(value)) continue;
            if (offset == numSamples) offset = last;
            if (offset > last || offset < 0) continue;
            while (target <= offset) {
                const double next =
                    offset == lastOffset
                        ? value
                        : current + (value - current) * (target - lastOffset) / (offset - lastOffset);
                push(next);
                if (target == last) {
                    done = true;
                    break;
                }
                target = std::min(target + sliceLength, last);
                ++slice;
            }
            if (offset < target) {
                lastOffset = offset;
                current = value;
            }
        }
        push(current);
    }
}

} // namespace Tannhofen::Mix
