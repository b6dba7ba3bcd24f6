// ArrangementList: the output formats that the converter's editor and the
// host's list parameter offer. It holds named arrangements only, without
// duplicates, ordered by channel count (fewer channels first).
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "frame/speaker_arrangement.h"

namespace Tannhofen::Mix {

class ArrangementList {
public:
    void clear() { entries.clear(); }

    // Adds `mask` when it has a name, then the smaller formats that can be
    // made from it by leaving out speakers (bottom, LFE, sides, wides, tops
    // and surrounds), each once.
    void addArrangements(Plx::SpeakerArrangement mask);

    int32_t count() const { return static_cast<int32_t>(entries.size()); }
    Plx::SpeakerArrangement at(int32_t index) const { return entries[static_cast<size_t>(index)]; }
    const std::vector<Plx::SpeakerArrangement>& all() const { return entries; }
    // Position of `mask`, or -1.
    int32_t indexOf(Plx::SpeakerArrangement mask) const;

    // The list parameter's value of entry `index`: index / (count - 1), and 0
    // with fewer than two entries.
    double normalizedOf(int32_t index) const;
    // The entry that a normalized value selects: round((count - 1) * value),
    // half away from zero, clamped to the list. -1 for an empty list.
    int32_t indexFromNormalized(double value) const;

private:
    void insert(Plx::SpeakerArrangement mask);
    // Recurses into `derived` only when it really is smaller than `mask`.
    void addDerived(Plx::SpeakerArrangement mask, Plx::SpeakerArrangement derived);

    std::vector<Plx::SpeakerArrangement> entries;
};

} // namespace Tannhofen::Mix
