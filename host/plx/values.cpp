#include "host/plx/values.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdlib>
#include <vector>

#include "host/plx/cli.h"

namespace Tannhofen::Host::Cli {

using namespace Plx;

namespace {

// Stepped parameters with more steps than this are read as numbers, not
// matched against the text of every step.
constexpr int32 kMaxListedSteps = 1024;
// Up to this many steps, the range shows every value.
constexpr int32 kMaxShownSteps = 16;

std::string lower(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return s;
}

bool allDigits(const std::string& text, size_t from, size_t to) {
    return from < to &&
           std::all_of(text.begin() + static_cast<long>(from), text.begin() + static_cast<long>(to),
                       [](unsigned char c) { return std::isdigit(c); });
}

// The number that a parameter's text starts with ("-3.00 dB" gives -3);
// "-inf" and "-oo" stand for minus infinity. False when it starts with none.
bool leadingNumber(const std::string& text, double* value) {
    const std::string t = lower(text);
    if (t.rfind("-inf", 0) == 0 || t.rfind("-oo", 0) == 0) {
        *value = -HUGE_VAL;
        return true;
    }
    size_t end = 0;
    while (end < text.size() && (std::isdigit(static_cast<unsigned char>(text[end])) || text[end] == '.' ||
                                 (end == 0 && (text[end] == '-' || text[end] == '+'))))
        ++end;
    return parseDecimal(text.substr(0, end), value);
}

} // namespace

bool parseInteger(const std::string& text, long* value) {
    const size_t start = !text.empty() && text[0] == '-' ? 1 : 0;
    if (!allDigits(text, start, text.size())) return false;
    long v = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), v);
    if (error != std::errc() || end != text.data() + text.size()) return false;
    *value = v;
    return true;
}

bool parseDecimal(const std::string& text, double* value) {
    const size_t start = !text.empty() && (text[0] == '-' || text[0] == '+') ? 1 : 0;
    const size_t dot = text.find('.', start);
    const size_t intEnd = dot == std::string::npos ? text.size() : dot;
    const bool intPart = allDigits(text, start, intEnd);
    const bool fracPart = dot != std::string::npos && allDigits(text, dot + 1, text.size());
    const bool emptyFrac = dot != std::string::npos && dot + 1 == text.size();
    if (!(intPart && (dot == std::string::npos || fracPart || emptyFrac)) && !(intEnd == start && fracPart))
        return false;
    const double v = std::strtod(text.c_str(), nullptr);
    if (!std::isfinite(v)) return false;
    *value = v;
    return true;
}

std::string narrow(const char16* text, size_t max) {
    std::string out;
    for (size_t i = 0; i < max && text[i]; ++i) {
        uint32_t c = text[i];
        if (c >= 0xD800 && c < 0xDC00 && i + 1 < max && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000)
            c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00u);
        if (c < 0x80) {
            out += static_cast<char>(c);
        } else if (c < 0x800) {
            out += static_cast<char>(0xC0 | c >> 6);
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else if (c < 0x10000) {
            out += static_cast<char>(0xE0 | c >> 12);
            out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | c >> 18);
            out += static_cast<char>(0x80 | (c >> 12 & 0x3F));
            out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
            out += static_cast<char>(0x80 | (c & 0x3F));
        }
    }
    return out;
}

std::u16string widen(const std::string& text) {
    std::u16string out;
    for (size_t i = 0; i < text.size();) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const int length = byte < 0x80         ? 1
                           : (byte >> 5) == 6  ? 2
                           : (byte >> 4) == 14 ? 3
                           : (byte >> 3) == 30 ? 4
                                               : 0;
        uint32_t c = length == 1   ? byte
                     : length == 2 ? byte & 0x1Fu
                     : length == 3 ? byte & 0x0Fu
                                   : byte & 0x07u;
        bool valid = length > 0 && i + static_cast<size_t>(length) <= text.size();
        for (int k = 1; valid && k < length; ++k) {
            const auto next = static_cast<unsigned char>(text[i + static_cast<size_t>(k)]);
            valid = (next & 0xC0) == 0x80;
            c = c << 6 | (next & 0x3Fu);
        }
        if (!valid || c > 0x10FFFF || (c >= 0xD800 && c < 0xE000)) {
            out += u'\uFFFD';
            ++i;
            continue;
        }
        if (c >= 0x10000) {
            out += static_cast<char16_t>(0xD800 + ((c - 0x10000) >> 10));
            out += static_cast<char16_t>(0xDC00 + ((c - 0x10000) & 0x3FF));
        } else {
            out += static_cast<char16_t>(c);
        }
        i += static_cast<size_t>(length);
    }
    return out;
}

std::string ParamValues::text(const Param& param, double normalized) const {
    char16 text[129] = {};
    if (controller->getParamStringByValue(param.info.id, normalized, text) != kResultOk) return "";
    return narrow(text, 128);
}

std::string ParamValues::range(const Param& param) const {
    const int32 steps = param.info.stepCount;
    if (steps > 0 && steps <= kMaxShownSteps) {
        std::vector<std::string> distinct;
        for (int32 k = 0; k <= steps; ++k) {
            const std::string shown = text(param, static_cast<double>(k) / steps);
            if (std::find(distinct.begin(), distinct.end(), shown) == distinct.end())
                distinct.push_back(shown);
        }
        std::string joined;
        for (const std::string& value : distinct) joined += (joined.empty() ? "" : " | ") + value;
        return joined;
    }
    const std::string span = text(param, 0.0) + " .. " + text(param, 1.0);
    return param.units.empty() ? span : span + " " + param.units;
}

double ParamValues::parse(const Param& param, const std::string& raw) const {
    const std::string what = "value " + quoted(raw) + " of " + param.title;
    // Normalized: a number from 0 to 1 with a trailing "n".
    if (raw.size() > 1 && (raw.back() == 'n' || raw.back() == 'N')) {
        double normalized = 0;
        if (parseDecimal(raw.substr(0, raw.size() - 1), &normalized)) {
            if (normalized < 0.0 || normalized > 1.0)
                throw UserError(what + " is out of range: normalized values go from 0 to 1");
            return normalized;
        }
    }
    // Plain, in the parameter's own units, which may follow the number.
    std::string text = raw;
    if (!param.units.empty() && text.size() > param.units.size() &&
        lower(text.substr(text.size() - param.units.size())) == lower(param.units)) {
        text.resize(text.size() - param.units.size());
        if (!text.empty() && text.back() == ' ') text.pop_back();
    }
    const int32 steps = param.info.stepCount;
    if (steps > 0 && steps <= kMaxListedSteps) return parseStep(param, text, what);
    return parseContinuous(param, text, what);
}

double ParamValues::parseStep(const Param& param, const std::string& text, const std::string& what) const {
    const int32 steps = param.info.stepCount;
    double number = 0;
    const bool numeric = parseDecimal(text, &number);
    for (int32 k = 0; k <= steps; ++k) {
        const double normalized = static_cast<double>(k) / steps;
        const std::string shown = this->text(param, normalized);
        double shownNumber = 0;
        if (lower(shown) == lower(text) ||
            (numeric && parseDecimal(shown, &shownNumber) && std::fabs(shownNumber - number) < 1e-9))
            return normalized;
    }
    // On/off parameters also take 0 and 1, and On and Off whatever their text.
    if (steps == 1 && numeric && (number == 0.0 || number == 1.0)) return number;
    if (steps == 1 && (lower(text) == "on" || lower(text) == "off")) return lower(text) == "on" ? 1.0 : 0.0;
    throw UserError(what + " is not one it takes: " + range(param));
}

double ParamValues::parseContinuous(const Param& param, const std::string& text,
                                    const std::string& what) const {
    double plain = 0;
    const bool minusInfinity = lower(text) == "-inf";
    if (!minusInfinity && !parseDecimal(text, &plain))
        throw UserError(what + " is not a number (write it in " +
                        (param.units.empty() ? std::string("plain units") : param.units) +
                        " as e.g. -3.5, or normalized as e.g. 0.5n)");
    double lo = 0, hi = 0;
    if (leadingNumber(this->text(param, 0.0), &lo) && leadingNumber(this->text(param, 1.0), &hi)) {
        // "-inf" is the bottom of a decibel range, however the text shows it.
        if (minusInfinity) return lo <= hi ? 0.0 : 1.0;
        const double tolerance = 1e-6 * std::max(1.0, std::fabs(hi - lo));
        if (plain < std::min(lo, hi) - tolerance || plain > std::max(lo, hi) + tolerance)
            throw UserError(what + " is out of range: it takes " + range(param));
        if (plain == std::min(lo, hi)) return lo <= hi ? 0.0 : 1.0;
    } else if (minusInfinity) {
        throw UserError(what + " is out of range: it takes " + range(param));
    }
    ParamValue normalized = 0;
    const std::u16string wide = widen(text);
    if (controller->getParamValueByString(param.info.id, wide.c_str(), &normalized) != kResultOk)
        normalized = controller->plainParamToNormalized(param.info.id, plain);
    if (!std::isfinite(normalized)) throw UserError(what + " can't be converted");
    return std::clamp(normalized, 0.0, 1.0);
}

} // namespace Tannhofen::Host::Cli
