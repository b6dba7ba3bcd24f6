#include "frame/parameter.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "frame/text.h"

namespace Tannhofen::Plx {

namespace {

ParameterInfo makeInfo(const char16* title, ParamID id, const char16* units, ParamValue defaultNormalized,
                       int32 stepCount, int32 flags, UnitID unitId, const char16* shortTitle) {
    ParameterInfo info{};
    info.id = id;
    copyBounded16(info.title, 128, title);
    copyBounded16(info.shortTitle, 128, shortTitle);
    copyBounded16(info.units, 128, units);
    info.stepCount = stepCount;
    info.defaultNormalizedValue = defaultNormalized;
    info.unitId = unitId;
    info.flags = flags;
    return info;
}

// Prints `value` with `precision` decimals; empty text when printing fails.
void printFloat(ParamValue value, int32 precision, char16* out) {
    char text[128];
    const int n = std::snprintf(text, sizeof text, "%.*f", std::clamp(precision, 0, 16), value);
    widenInto(out, 128, n > 0 && n < static_cast<int>(sizeof text) ? text : "");
}

// Reads a floating-point number from the start of 16-bit text.
bool readFloat(const char16* string, ParamValue& value) {
    if (!string) return false;
    const std::string text = utf16ToUtf8(string);
    char* end = nullptr;
    const double v = std::strtod(text.c_str(), &end);
    if (end == text.c_str()) return false;
    value = v;
    return true;
}

} // namespace

Parameter::Parameter() : info{} {}

Parameter::Parameter(const ParameterInfo& info) : info(info), valueNormalized(info.defaultNormalizedValue) {}

Parameter::Parameter(const char16* title, ParamID id, const char16* units, ParamValue defaultNormalized,
                     int32 stepCount, int32 flags, UnitID unitId, const char16* shortTitle)
    : info(makeInfo(title, id, units, defaultNormalized, stepCount, flags, unitId, shortTitle)),
      valueNormalized(defaultNormalized) {}

Parameter::~Parameter() = default;

bool Parameter::setNormalized(ParamValue value) {
    value = std::clamp(value, 0.0, 1.0);
    if (value == valueNormalized) return false;
    valueNormalized = value;
    changed();
    return true;
}

void Parameter::toString(ParamValue valueNormalized_, char16* out) const {
    if (!out) return;
    if (info.stepCount == 1)
        widenInto(out, 128, valueNormalized_ > 0.5 ? "On" : "Off");
    else
        printFloat(valueNormalized_, precision, out);
}

bool Parameter::fromString(const char16* string, ParamValue& valueNormalized_) const {
    return readFloat(string, valueNormalized_);
}

ParamValue Parameter::toPlain(ParamValue valueNormalized_) const {
    return valueNormalized_;
}

ParamValue Parameter::toNormalized(ParamValue plainValue) const {
    return plainValue;
}

RangeParameter::RangeParameter(const char16* title, ParamID id, const char16* units, ParamValue minPlain,
                               ParamValue maxPlain, ParamValue defaultPlain, int32 stepCount, int32 flags,
                               UnitID unitId, const char16* shortTitle)
    : Parameter(title, id, units, 0.0, stepCount, flags, unitId, shortTitle),
      minPlain(minPlain),
      maxPlain(maxPlain) {
    info.defaultNormalizedValue = valueNormalized = toNormalized(defaultPlain);
}

ParamValue RangeParameter::toPlain(ParamValue valueNormalized_) const {
    if (info.stepCount > 0)
        return minPlain +
               std::min<ParamValue>(info.stepCount, std::trunc(valueNormalized_ * (info.stepCount + 1)));
    return valueNormalized_ * (maxPlain - minPlain) + minPlain;
}

ParamValue RangeParameter::toNormalized(ParamValue plainValue) const {
    if (maxPlain == minPlain) return 0.0;
    return std::clamp((plainValue - minPlain) / (maxPlain - minPlain), 0.0, 1.0);
}

void RangeParameter::toString(ParamValue valueNormalized_, char16* out) const {
    if (!out) return;
    if (info.stepCount > 1) {
        char text[32];
        std::snprintf(text, sizeof text, "%d", static_cast<int>(toPlain(valueNormalized_)));
        widenInto(out, 128, text);
    } else {
        printFloat(toPlain(valueNormalized_), precision, out);
    }
}

bool RangeParameter::fromString(const char16* string, ParamValue& valueNormalized_) const {
    ParamValue plain = 0.0;
    if (!readFloat(string, plain)) return false;
    valueNormalized_ =
        toNormalized(std::clamp(plain, std::min(minPlain, maxPlain), std::max(minPlain, maxPlain)));
    return true;
}

StringListParameter::StringListParameter(const char16* title, ParamID id, const char16* units, int32 flags,
                                         UnitID unitId, const char16* shortTitle)
    : Parameter(title, id, units, 0.0, -1, flags, unitId, shortTitle) {}

void StringListParameter::appendString(const char16* string) {
    strings.emplace_back(string ? string : u"");
    info.stepCount = countStrings() - 1;
}

bool StringListParameter::replaceString(int32 index, const char16* string) {
    if (index < 0 || index >= countStrings()) return false;
    strings[static_cast<size_t>(index)] = string ? string : u"";
    return true;
}

void StringListParameter::toString(ParamValue valueNormalized_, char16* out) const {
    if (!out) return;
    const auto index = static_cast<int64>(toPlain(valueNormalized_));
    if (index < 0 || index >= countStrings()) {
        copyBounded16(out, 128, u"");
        return;
    }
    copyBounded16(out, 128, strings[static_cast<size_t>(index)].c_str());
}

bool StringListParameter::fromString(const char16* string, ParamValue& valueNormalized_) const {
    if (!string) return false;
    const auto it = std::find(strings.begin(), strings.end(), std::u16string_view(string));
    if (it == strings.end()) return false;
    valueNormalized_ = toNormalized(static_cast<ParamValue>(it - strings.begin()));
    return true;
}

ParamValue StringListParameter::toPlain(ParamValue valueNormalized_) const {
    if (info.stepCount < 1) return 0.0;
    return std::min<ParamValue>(info.stepCount, std::trunc((info.stepCount + 1) * valueNormalized_));
}

ParamValue StringListParameter::toNormalized(ParamValue plainValue) const {
    if (info.stepCount < 1) return 0.0;
    return plainValue / info.stepCount;
}

Parameter* ParameterContainer::addParameter(Parameter* p) {
    if (!p) return nullptr;
    const ParamID id = p->getInfo().id;
    if (indexOf.count(id)) {
        p->release();
        return nullptr;
    }
    indexOf[id] = params.size();
    params.push_back(p);
    return p;
}

Parameter* ParameterContainer::addParameter(const ParameterInfo& info) {
    return addParameter(new Parameter(info));
}

Parameter* ParameterContainer::addParameter(const char16* title, const char16* units, int32 stepCount,
                                            ParamValue defaultNormalized, int32 flags, ParamID id,
                                            UnitID unitId, const char16* shortTitle) {
    return addParameter(
        new Parameter(title, id, units, defaultNormalized, stepCount, flags, unitId, shortTitle));
}

Parameter* ParameterContainer::getParameterByIndex(int32 index) const {
    return index >= 0 && index < getParameterCount() ? params[static_cast<size_t>(index)] : nullptr;
}

Parameter* ParameterContainer::getParameter(ParamID id) const {
    const auto it = indexOf.find(id);
    return it == indexOf.end() ? nullptr : params[it->second];
}

void ParameterContainer::removeAll() {
    for (Parameter* p : params) p->release();
    params.clear();
    indexOf.clear();
}

} // namespace Tannhofen::Plx
