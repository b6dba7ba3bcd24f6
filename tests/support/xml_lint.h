// Checks XML with libxml2's xmllint (Debian's libxml2-utils): whether a text
// is well-formed, and the text an XPath expression selects in it.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace XmlLint {

namespace detail {

inline std::string shellQuote(const std::string& arg) {
    std::string q = "'";
    for (char c : arg) q += c == '\'' ? std::string("'\\''") : std::string(1, c);
    return q + "'";
}

// Runs xmllint on `xml` with `options`; answers its exit status and what it printed.
inline int run(const std::string& xml, const std::string& options, std::string* output) {
    const auto dir = std::filesystem::temp_directory_path();
    const std::string base = (dir / ("xmllint-" + std::to_string(getpid()))).string();
    std::ofstream(base + ".xml", std::ios::binary) << xml;
    const std::string command = "xmllint --nonet " + options + " " + shellQuote(base + ".xml") + " >" +
                                shellQuote(base + ".out") + " 2>&1";
    const int raw = std::system(command.c_str());
    std::stringstream text;
    text << std::ifstream(base + ".out", std::ios::binary).rdbuf();
    if (output) *output = text.str();
    std::remove((base + ".xml").c_str());
    std::remove((base + ".out").c_str());
    return WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
}

} // namespace detail

// Empty when `xml` is well-formed, else xmllint's complaint.
inline std::string wellFormedError(const std::string& xml) {
    std::string output;
    const int status = detail::run(xml, "--noout", &output);
    return status == 0 ? std::string() : "xmllint status " + std::to_string(status) + ": " + output;
}

// The string value of an XPath expression in `xml` (e.g. "string(//name[1])").
inline std::string xpath(const std::string& xml, const std::string& expression) {
    std::string output;
    detail::run(xml, "--xpath " + detail::shellQuote(expression), &output);
    if (!output.empty() && output.back() == '\n') output.pop_back(); // xmllint ends the value with one
    return output;
}

} // namespace XmlLint
