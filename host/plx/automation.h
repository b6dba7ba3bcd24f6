// Automation read from a text file and handed to the processor through the
// parameter change queues of each block.
//
// One point per line: TIME PARAMETER VALUE, separated by spaces, tabs or
// commas; '#' starts a comment. TIME is in seconds ("1.5", "1.5s", "250ms")
// or in samples ("72000smp"). PARAMETER is a name (quoted when it has spaces)
// or an id; VALUE is written as for --set. Between two points of a parameter
// the value moves in a straight line; before its first point the parameter
// keeps its value from the start of the render and jumps at that point.
#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "frame/ieditcontroller.h"
#include "host/lib/parameter_changes.h"

namespace Tannhofen::Host::Cli {

// Lines longer than this are refused: no automation point needs them.
inline constexpr size_t kMaxAutomationLine = 4096;

// Calls `take` with the fields of each line of `text` that isn't empty once
// its comment ('#' on) is cut. Fields are split at spaces, tabs and commas;
// double quotes keep one whole. `where` ("source:line: ") begins a message
// about the line. UserError for a line longer than kMaxAutomationLine or a
// quote left open; `shape` ("TIME PARAMETER VALUE") tells what a line holds.
void forEachLine(
    const std::string& text, const std::string& source, const std::string& shape,
    const std::function<void(const std::vector<std::string>& fields, const std::string& where)>& take);

class Automation {
public:
    // Resolves the PARAMETER and VALUE fields of a line to a parameter id and
    // a normalized value; UserError when it can't.
    using Resolver = std::function<std::pair<Plx::ParamID, double>(const std::string& parameter,
                                                                   const std::string& value)>;

    struct Point {
        int64_t sample;
        double value; // normalized
    };
    struct Lane {
        Plx::ParamID id;
        double startValue = 0.0;
        std::vector<Point> points; // by time
    };

    // Reads an automation file, no larger than kMaxSmallFileBytes. UserError,
    // naming the file and line, for anything it can't read.
    static Automation load(const std::string& path, double sampleRate, const Resolver& resolve);
    // Reads the text of an automation file; `source` names it in messages.
    static Automation parse(const std::string& text, const std::string& source, double sampleRate,
                            const Resolver& resolve);
    // Parses one TIME field into samples; false when it isn't one.
    static bool parseTime(const std::string& text, double sampleRate, int64_t* sample);

    // The values that the parameters have when the render starts.
    void setStartValues(const std::function<double(Plx::ParamID)>& valueOf);
    // Adds the points that fall into samples [start, start + length) to
    // `changes`, with the straight-line value at the block's last sample so
    // that a ramp continues across blocks.
    void schedule(int64_t start, int32_t length, ParameterChanges& changes) const;

    const std::vector<Lane>& lanes() const { return laneList; }

private:
    std::vector<Lane> laneList;
};

} // namespace Tannhofen::Host::Cli
