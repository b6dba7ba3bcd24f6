// The converter's parameter table: one ParamInfoRecord per parameter, and the
// conversions between normalized and plain values that state and display use.
#pragma once

#include <cstdint>

#include "frame/param_info.h"

namespace Tannhofen::Mix {

// A mix plug-in's parameter table, as its processor (slicing, state) and its
// controller (publishing, text) read it.
class ParamTable {
public:
    virtual int32_t count() const = 0;
    virtual const Plx::ParamInfoRecord& row(int32_t index) const = 0;
    // The row of `id`, or null for an id that the table doesn't hold.
    virtual const Plx::ParamInfoRecord* find(int32_t id) const = 0;
    // Normalized to plain and back, for state and display; ids outside the
    // table pass through.
    virtual double toPlain(int32_t id, double normalized) const = 0;
    virtual double toNormalized(int32_t id, double plain) const = 0;
    // A row that the controller publishes beside the table's, or null.
    virtual const Plx::ParamInfoRecord* extraRow() const { return nullptr; }

protected:
    ~ParamTable() = default;
};

class MixParamTable final : public ParamTable {
public:
    static constexpr int32_t kRowCount = 52;

    // The one shared table, built on first use (not on the audio thread).
    static const MixParamTable& instance();

    int32_t count() const override { return kRowCount; }
    const Plx::ParamInfoRecord& row(int32_t index) const override { return rows[index]; }
    const Plx::ParamInfoRecord* find(int32_t id) const override;
    // The LFE level (id 11), kept outside the table and thus out of the state.
    const Plx::ParamInfoRecord& lfeLevel() const { return lfeRow; }
    const Plx::ParamInfoRecord* extraRow() const override { return &lfeRow; }

    // Normalized to plain: decibels for the levels (-180 dB for silence),
    // min to max for the other rows; other ids pass through.
    double toPlain(int32_t id, double normalized) const override;
    double toNormalized(int32_t id, double plain) const override;

private:
    MixParamTable();

    Plx::ParamInfoRecord rows[kRowCount];
    Plx::ParamInfoRecord lfeRow;
};

} // namespace Tannhofen::Mix
