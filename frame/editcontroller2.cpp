#include "frame/editcontroller2.h"

#include <cmath>

#include "frame/text.h"

namespace Tannhofen::Plx {

int32 hostFlagsOf(const ParamInfoRecord& row) {
    int32 flags = 0;
    if (row.flags & ParamInfoRecord::kAutomatable) flags |= ParameterInfo::kCanAutomate;
    if (row.flags & ParamInfoRecord::kReadOnly) flags |= ParameterInfo::kIsReadOnly;
    if (row.flags & ParamInfoRecord::kWrapAround) flags |= ParameterInfo::kIsWrapAround;
    if (row.flags & ParamInfoRecord::kHidden) flags |= ParameterInfo::kIsHidden;
    return flags;
}

EditController2::~EditController2() = default;

tresult EditController2::initialize(FUnknown* context) {
    const tresult result = EditControllerEx1::initialize(context);
    if (result != kResultOk) return result;
    beforeParameters(context);

    const std::span<const ParamInfoRecord> rows = getParamTable();
    for (size_t i = 0; i < rows.size(); ++i) {
        const ParamInfoRecord& row = rows[i];
        const auto id = static_cast<ParamID>(row.id);
        if (!wantsParameter(id)) continue;
        if (Parameter* p = createTableParameter(row)) parameters.addParameter(p);
        usedRows.push_back(static_cast<int32>(i));
    }
    afterParameters();
    parametersDone();
    return kResultOk;
}

tresult EditController2::terminate() {
    editorParameters.removeAll();
    usedRows.clear();
    return EditControllerEx1::terminate();
}

ParamValue EditController2::tableToPlain(ParamID, ParamValue valueNormalized) const {
    return valueNormalized;
}

ParamValue EditController2::tableToNormalized(ParamID, ParamValue plainValue) const {
    return plainValue;
}

void EditController2::beforeParameters(FUnknown*) {}

bool EditController2::wantsParameter(ParamID) {
    return true;
}

Parameter* EditController2::createTableParameter(const ParamInfoRecord& row) {
    const std::u16string title = utf8ToUtf16(row.title);
    const std::u16string units = utf8ToUtf16(row.units);
    const auto id = static_cast<ParamID>(row.id);
    const int32 flags = hostFlagsOf(row);

    Parameter* p = nullptr;
    switch (row.type) {
    case ParamInfoRecord::kInteger: {
        const double lo = std::trunc(row.min);
        const double hi = std::trunc(row.max);
        p = new RangeParameter(title.c_str(), id, units.c_str(), lo, hi, std::trunc(row.defaultNormalized),
                               static_cast<int32>(hi - lo), flags);
        break;
    }
    case ParamInfoRecord::kFloat:
        p = new RangeParameter(title.c_str(), id, units.c_str(), 0.0, row.max, 0.0, 0, flags);
        p->editInfo().defaultNormalizedValue = row.defaultNormalized;
        p->setNormalized(row.defaultNormalized);
        break;
    case ParamInfoRecord::kOnOff:
        p = new Parameter(title.c_str(), id, units.c_str(), row.defaultNormalized >= 0.5 ? 1.0 : 0.0, 1,
                          flags);
        break;
    default: return nullptr;
    }
    p->setPrecision(row.precision);
    return p;
}

void EditController2::afterParameters() {}

void EditController2::parametersDone() {}

} // namespace Tannhofen::Plx
