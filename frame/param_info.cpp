#include "frame/param_info.h"

#include <cstring>

#include "frame/text.h"

namespace Tannhofen::Plx {

ParamInfoRecord makeParamRow(int32_t id, const char* name, const char* title, const char* units, double min,
                             double max, double defaultNormalized, double step, int32_t type, uint32_t flags,
                             const char* format, int32_t precision, int32_t extra) {
    ParamInfoRecord r{};
    r.id = id;
    copyBounded(r.name, sizeof r.name, name);
    copyBounded(r.title, sizeof r.title, title);
    copyBounded(r.units, sizeof r.units, units);
    r.min = min;
    r.max = max;
    r.defaultNormalized = defaultNormalized;
    r.step = step;
    r.type = type;
    r.flags = flags;
    copyBounded(r.format, sizeof r.format, format);
    r.precision = precision;
    r.extra = extra;
    return r;
}

int32_t formatDecimals(const char* format) {
    const char* dot = std::strchr(format, '.');
    return dot && dot[1] >= '0' && dot[1] <= '9' ? dot[1] - '0' : 0;
}

} // namespace Tannhofen::Plx
