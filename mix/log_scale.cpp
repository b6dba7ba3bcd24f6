#include "mix/log_scale.h"

#include <cmath>

namespace Tannhofen::Mix {

double LogScale::toLinear(double normalized) const {
    const float p = powf(static_cast<float>(normalized), static_cast<float>(e));
    return static_cast<double>(p) * (hi - lo) + lo;
}

double LogScale::toNormalized(double linear) const {
    const double base = (linear - lo) / (hi - lo);
    return static_cast<double>(powf(static_cast<float>(base), static_cast<float>(invE)));
}

} // namespace Tannhofen::Mix
