// The panner's parameter table: one ParamInfoRecord per parameter, in
// ascending id order, shared by the processor (slicing, state) and the
// controller (publishing, text), with the conversions between normalized and
// plain values; and the names by which a host looks parameters up by purpose.
//
// The table holds the base rows of the mix plug-ins (the LFE level, the
// output solos, bypass), the panner's 62 rows and 50 read-only meter rows.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "frame/param_info.h"
#include "mix/mix_params.h"

namespace Tannhofen::Panner {

class RPannerParamTable final : public Mix::ParamTable {
public:
    static constexpr int32_t kPannerRows = 62;
    static constexpr int32_t kMeterRows = 50;
    static constexpr int32_t kBaseRows = 28; // LFE level, 26 output solos, bypass
    static constexpr int32_t kRowCount = kBaseRows + kPannerRows + kMeterRows;

    // The one shared table, built on first use (not on the audio thread).
    static const RPannerParamTable& instance();

    int32_t count() const override { return static_cast<int32_t>(rows.size()); }
    const Plx::ParamInfoRecord& row(int32_t index) const override {
        return rows[static_cast<std::size_t>(index)];
    }
    // The row of `id`, or null for an id that the table doesn't hold.
    const Plx::ParamInfoRecord* find(int32_t id) const override;

    // Normalized to plain: decibels for the LFE level (-180 dB for silence)
    // and for the meters (the linear peak in dB, -60 to +3); min to max for
    // the other rows. Ids outside the table pass through.
    double toPlain(int32_t id, double normalized) const override;
    double toNormalized(int32_t id, double plain) const override;

private:
    RPannerParamTable();
    std::vector<Plx::ParamInfoRecord> rows;
};

// The id of the parameter that serves `name` for the host (the panner's
// function names, then the base's "PanLfeGain"); false and 1024 for an
// unknown name.
bool pannerFunctionNameToId(const char* name, int32_t& id);
// The function name of parameter `id`, the one that pannerFunctionNameToId
// answers with `id`; null for a parameter without one.
const char* pannerFunctionName(int32_t id);

} // namespace Tannhofen::Panner
