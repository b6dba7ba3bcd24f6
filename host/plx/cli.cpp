#include "host/plx/cli.h"

#include <cerrno>
#include <cmath>
#include <cstdlib>

namespace Tannhofen::Host::Cli {

Options::Options(const std::vector<std::string>& args, const std::set<std::string>& valued,
                 const std::set<std::string>& flags) {
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (arg.rfind("--", 0) != 0) throw UserError("unexpected argument '" + arg + "'");
        std::string name = arg.substr(2);
        std::string value;
        const size_t eq = name.find('=');
        const bool inlineValue = eq != std::string::npos && valued.count(name.substr(0, eq));
        if (inlineValue) {
            value = name.substr(eq + 1);
            name = name.substr(0, eq);
        }
        if (valued.count(name)) {
            if (!inlineValue) {
                if (i + 1 >= args.size()) throw UserError("option --" + name + " needs a value");
                value = args[++i];
            }
            values[name].push_back(value);
        } else if (flags.count(name)) {
            values[name].push_back("");
        } else {
            throw UserError("unknown option '" + arg + "'");
        }
    }
}

std::string Options::get(const std::string& name, const std::string& fallback) const {
    auto it = values.find(name);
    return it == values.end() ? fallback : it->second.back();
}

std::string Options::require(const std::string& name) const {
    if (!has(name)) throw UserError("missing option --" + name);
    return get(name);
}

const std::vector<std::string>& Options::all(const std::string& name) const {
    static const std::vector<std::string> kNone;
    auto it = values.find(name);
    return it == values.end() ? kNone : it->second;
}

long Options::getInt(const std::string& name, long fallback, long min, long max) const {
    if (!has(name)) return fallback;
    double value = 0;
    if (!parseNumber(get(name), &value) || value != std::floor(value) || value < min || value > max)
        throw UserError("--" + name + " must be a whole number from " + std::to_string(min) + " to " +
                        std::to_string(max) + ", not '" + get(name) + "'");
    return static_cast<long>(value);
}

bool parseNumber(const std::string& text, double* value) {
    if (text.empty()) return false;
    errno = 0;
    char* end = nullptr;
    const double v = std::strtod(text.c_str(), &end);
    if (errno != 0 || end != text.c_str() + text.size() || !std::isfinite(v)) return false;
    *value = v;
    return true;
}

} // namespace Tannhofen::Host::Cli
