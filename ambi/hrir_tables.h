// The six built-in HRIR sets, in the spherical-harmonic domain, designed by
// tools/hrir_design.cpp from measured data (ambi/hrir_tables.cpp is its output).
// Each table is numChannels rows of `length` values, one row after the other,
// in ACN order. All six are for a left-right symmetric head: the left table is
// the only one the decoder uses; the standard sets also carry the mirrored
// right-ear table.
#pragma once

#include <cstddef>
#include <cstdint>

namespace Tannhofen::AmbiBin {

struct BuiltinHrirTable {
    int32_t mode;
    uint32_t order;
    uint32_t length; // samples per filter
    uint32_t numChannels;
    double sampleRate;
    const double* left;     // double tables, else null
    const double* right;    // the mirrored right ear, where the table has one
    const float* leftFloat; // float tables, else null
};

inline constexpr size_t kBuiltinHrirTableCount = 6;
// In the order (mode, order) (1, 1), (1, 2), (1, 3), (2, 1), (4, 2), (4, 3).
extern const BuiltinHrirTable kBuiltinHrirTables[kBuiltinHrirTableCount];

} // namespace Tannhofen::AmbiBin
