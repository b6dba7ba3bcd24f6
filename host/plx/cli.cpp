#include "host/plx/cli.h"

#include <cstdio>

#include "host/plx/values.h"

namespace Tannhofen::Host::Cli {

namespace {

constexpr size_t kShownHead = 40;
constexpr size_t kShownTail = 24;

} // namespace

std::string shown(const std::string& text) {
    std::string out;
    auto escape = [&out](const std::string& text, size_t from, size_t to) {
        for (size_t i = from; i < to; ++i) {
            const auto c = static_cast<unsigned char>(text[i]);
            if (c < 0x20 || c == 0x7F) {
                char code[8];
                std::snprintf(code, sizeof code, "\\x%02X", c);
                out.append(code);
            } else {
                out.push_back(static_cast<char>(c));
            }
        }
    };
    if (text.size() <= kShownHead + kShownTail + 3) {
        escape(text, 0, text.size());
        return out;
    }
    // Cut between UTF-8 sequences, not inside one.
    size_t head = kShownHead, tail = text.size() - kShownTail;
    while (head > 0 && (static_cast<unsigned char>(text[head]) & 0xC0) == 0x80) --head;
    while (tail < text.size() && (static_cast<unsigned char>(text[tail]) & 0xC0) == 0x80) ++tail;
    escape(text, 0, head);
    out.append("...");
    escape(text, tail, text.size());
    out.append(" (").append(std::to_string(text.size())).append(" bytes)");
    return out;
}

std::string quoted(const std::string& text) {
    std::string out(1, '\'');
    out.append(shown(text)).push_back('\'');
    return out;
}

Options::Options(const std::vector<std::string>& args, const std::set<std::string>& valued,
                 const std::set<std::string>& flags) {
    for (size_t i = 0; i < args.size(); ++i) {
        const std::string& arg = args[i];
        if (arg.rfind("--", 0) != 0) throw UserError("unexpected argument " + quoted(arg));
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
            throw UserError("unknown option " + quoted(arg));
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
    long value = 0;
    if (!parseInteger(get(name), &value) || value < min || value > max)
        throw UserError("--" + name + " must be a whole number from " + std::to_string(min) + " to " +
                        std::to_string(max) + ", not " + quoted(get(name)));
    return value;
}

} // namespace Tannhofen::Host::Cli
