// Numbers and parameter values as users write them and as plx shows them.
// Numbers are read strictly: plain decimal digits, an optional sign and
// fraction; no hex, no exponent, no spaces around. Parameter values are
// converted by the effect's controller, through its own text conversions
// (getParamStringByValue, getParamValueByString), so that plx reads what the
// effect shows.
#pragma once

#include <string>

#include "frame/ieditcontroller.h"

namespace Tannhofen::Host::Cli {

// "512", "-3": false for anything else, or when it doesn't fit a long.
bool parseInteger(const std::string& text, long* value);
// "-3", "0.25", ".5", "+6.0": false for anything else ("1e3", "0x10", " 5", "inf").
bool parseDecimal(const std::string& text, double* value);

// UTF-16 text of the interface, as UTF-8, and back.
std::string narrow(const Plx::char16* text, size_t max);
std::u16string widen(const std::string& text);

// A parameter as the controller publishes it.
struct Param {
    Plx::ParameterInfo info{};
    std::string title;
    std::string shortTitle;
    std::string units;
};

class ParamValues {
public:
    explicit ParamValues(Plx::IPlxEditController* controller) : controller(controller) {}

    // A value for `param` as the user writes it: in the units that its text
    // shows ("-3", "-3dB", "-3 dB", "-inf", "On", "5.1"), or normalized with a
    // trailing "n" ("0.25n"). Answers the normalized value; UserError, naming
    // what the parameter takes, when it isn't one of its values.
    double parse(const Param& param, const std::string& text) const;
    // The text of a normalized value, as the controller shows it.
    std::string text(const Param& param, double normalized) const;
    // What the parameter takes: "-180.00 .. 6.02 dB", or its distinct
    // values "Off | On" when it has a few steps.
    std::string range(const Param& param) const;

private:
    double parseStep(const Param& param, const std::string& text, const std::string& what) const;
    double parseContinuous(const Param& param, const std::string& text, const std::string& what) const;

    Plx::IPlxEditController* controller;
};

} // namespace Tannhofen::Host::Cli
