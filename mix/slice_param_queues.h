// SliceParamQueues: the parameter values that each slice of an audio block
// applies, one fixed-capacity queue per slice. Filled and emptied on the audio
// thread; sized beforehand.
#pragma once

#include <cstdint>
#include <vector>

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

private:
    int32_t capacity;
    std::vector<SliceParamQueue> queues;
};

} // namespace Tannhofen::Mix
