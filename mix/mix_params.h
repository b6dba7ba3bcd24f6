// The converter's parameter table: one ParamInfoRecord per parameter, and the
// conversions between normalized and plain values that state and display use.
#pragma once

#include <cstdint>

#include "frame/param_info.h"

namespace Tannhofen::Mix {

class MixParamTable {
public:
    static constexpr int32_t kRowCount = 52;

    // The one shared table, built on first use (not on the audio thread).
    static const MixParamTable& instance();

    int32_t count() const { return kRowCount; }
    const Plx::ParamInfoRecord& row(int32_t index) const { return rows[index]; }
    // The row of `id`, or null for an id that the table doesn't hold.
    const Plx::ParamInfoRecord* find(int32_t id) const;
    // The LFE level (id 11), kept outside the table and thus out of the state.
    const Plx::ParamInfoRecord& lfeLevel() const { return lfeRow; }

    // Normalized to plain: decibels for the levels (-180 dB for silence),
    // min to max for the other rows; other ids pass through.
    double toPlain(int32_t id, double normalized) const;
    double toNormalized(int32_t id, double plain) const;

private:
    MixParamTable();

    Plx::ParamInfoRecord rows[kRowCount];
    Plx::ParamInfoRecord lfeRow;
};

} // namespace Tannhofen::Mix
