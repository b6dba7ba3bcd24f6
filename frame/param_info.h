// ParamInfoRecord: one row of a plug-in's parameter table. The table drives
// which parameters a controller publishes, how their values are saved in the
// state, and how they are shown as text.
#pragma once

#include <cstdint>

namespace Tannhofen::Plx {

struct ParamInfoRecord {
    // Row types.
    enum Type : int32_t { kInteger = 0, kFloat = 1, kOnOff = 2, kList = 4 };
    // Row flags.
    static constexpr uint32_t kAutomatable = 1u << 0;
    // Published read-only: a value the plug-in reports (a meter) or a control
    // that is disabled. The host never sends it to the processor, so the
    // converter also keeps such rows out of its per-slice queues.
    static constexpr uint32_t kReadOnly = 1u << 1;
    static constexpr uint32_t kWrapAround = 1u << 2; // the value wraps around its range (an angle)
    static constexpr uint32_t kHidden = 1u << 4;     // published hidden: the host lists it nowhere
    static constexpr uint32_t kNotSaved = 0x20000u;  // left out of the state

    int32_t id;
    char name[128];
    char title[128];
    char units[128];
    double min;
    double max;
    double defaultNormalized;
    double step;
    int32_t type;
    uint32_t flags;
    char format[12]; // printf text for the value
    int32_t precision;
    int32_t extra;
    int32_t reserved; // always 0
};

static_assert(sizeof(ParamInfoRecord) == 456, "one table row is 456 bytes");

// One row with every field given; the texts are cut to their fields' sizes.
ParamInfoRecord makeParamRow(int32_t id, const char* name, const char* title, const char* units, double min,
                             double max, double defaultNormalized, double step, int32_t type, uint32_t flags,
                             const char* format, int32_t precision, int32_t extra = 0);

// The decimals a "%.Nf" value format shows; 0 for any other format.
int32_t formatDecimals(const char* format);

} // namespace Tannhofen::Plx
