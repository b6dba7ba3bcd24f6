// SpeakerGrid: one speaker arrangement seen as rows (bottom, ear level, top) by
// depth zones (front, side, rear), without its LFE channels.
#pragma once

#include <cstdint>

#include "frame/speaker_arrangement.h"

namespace Tannhofen::Mix {

class SpeakerGrid {
public:
    static constexpr uint32_t kRows = 3;
    static constexpr uint32_t kZones = 3;
    enum Row : uint32_t { kBottom = 0, kEar = 1, kTop = 2 };
    enum Zone : uint32_t { kFront = 0, kSide = 1, kRear = 2 };

    // The height of a row on the scale of the models' points: bottom 0, ear
    // level 0.5, top 1.
    static constexpr float heightOf(uint32_t row) { return 0.5f * static_cast<float>(row); }

    SpeakerGrid() = default;
    explicit SpeakerGrid(Plx::SpeakerArrangement mask) { build(mask); }

    // Counts the speakers of `mask` into their rows and zones, and its LFE channels.
    void build(Plx::SpeakerArrangement arrangement);
    void clear();

    // Raw access by row. Out-of-range indices are programming faults and throw
    // std::out_of_range.
    uint32_t count(uint32_t row, uint32_t zone) const;
    uint32_t zoneSpan(uint32_t row) const;  // 1 + the highest zone with speakers, 0 when empty
    uint32_t usedZones(uint32_t row) const; // zones with speakers
    uint32_t rowTotal(uint32_t row) const;
    uint32_t layers() const { return numLayers; }

    // Access by layer: layer l is the l-th row that holds speakers, from the
    // bottom up, so that a grid of top speakers alone, or of bottom speakers
    // alone, has them on its layer 0. For grids whose rows are ear, ear and
    // top, or bottom, ear and top, that is row l + 1 below three layers and
    // row l with three. A layer beyond the grid's has the row kRows, which
    // the accessors refuse.
    uint32_t rowOfLayer(uint32_t layer) const { return layer < numLayers ? layerRows[layer] : kRows; }
    uint32_t zonesOfLayer(uint32_t layer) const { return zoneSpan(rowOfLayer(layer)); }
    uint32_t usedZonesOfLayer(uint32_t layer) const { return usedZones(rowOfLayer(layer)); }
    uint32_t countOf(uint32_t layer, uint32_t zone) const { return count(rowOfLayer(layer), zone); }

    uint32_t mainCount() const; // all speakers of the grid
    uint32_t lfeCount() const { return lfe; }
    // Front center: an odd count of at least 3 at ear level, front zone.
    bool hasFrontCenter() const;

    // Position in grid order (rows bottom to top, zones front to rear, LFE
    // channels last) of the speaker `bit` of the arrangement the grid was
    // built from: the offset of its cell plus the rank of its bit among the
    // cell's present bits, in the cell's order. Ambisonic channels rank after
    // the front speakers of the ear row, in channel order. -1 for a bit that
    // has no position. Not clamped.
    int32_t positionOf(Plx::SpeakerArrangement bit) const;

private:
    void recount();

    Plx::SpeakerArrangement mask = 0;
    uint32_t counts[kRows][kZones] = {};
    uint32_t spans[kRows] = {};
    uint32_t used[kRows] = {};
    uint32_t layerRows[kRows] = {};
    uint32_t numLayers = 0;
    uint32_t lfe = 0;
};

} // namespace Tannhofen::Mix
