// Command-line plumbing of plx: the error a user can cause, the parsing of
// options after the subcommand, and how user text is shown in messages.
#pragma once

#include <map>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace Tannhofen::Host::Cli {

// A mistake of the user's (unknown name, bad file, value out of range...):
// plx prints its text as one line on stderr and exits with status 1.
struct UserError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// Text that came from the user or from a file, fit for a one-line message:
// control bytes (NUL, newline, escape...) written as \xNN, and anything
// longer than a short excerpt cut in the middle, so that a huge or hostile
// token can't flood or break the message.
std::string shown(const std::string& text);
// shown(), in single quotes.
std::string quoted(const std::string& text);

// Options of one subcommand: "--name value" (or "--name=value") for those in
// `valued`, "--name" alone for those in `flags`; a valued option may repeat
// (all values kept).
class Options {
public:
    Options(const std::vector<std::string>& args, const std::set<std::string>& valued,
            const std::set<std::string>& flags);

    bool has(const std::string& name) const { return values.count(name) != 0; }
    // The last value given, or `fallback`.
    std::string get(const std::string& name, const std::string& fallback = "") const;
    // The value, or a UserError that names the missing option.
    std::string require(const std::string& name) const;
    const std::vector<std::string>& all(const std::string& name) const;
    // A whole number within [min, max], written as plain decimal digits.
    long getInt(const std::string& name, long fallback, long min, long max) const;

private:
    std::map<std::string, std::vector<std::string>> values;
};

} // namespace Tannhofen::Host::Cli
