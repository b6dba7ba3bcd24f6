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

#include <string>
#include <vector>

#include "host/lib/parameter_changes.h"
#include "host/plx/effect.h"

namespace Tannhofen::Host::Cli {

class Automation {
public:
    struct Point {
        int64_t sample;
        double value; // normalized
    };
    struct Lane {
        Plx::ParamID id;
        double startValue = 0.0;
        std::vector<Point> points; // by time
    };

    // UserError, naming the file and line, for anything it can't read.
    static Automation load(const std::string& path, const Effect& effect, double sampleRate);
    // Parses one TIME field into samples; false when it isn't one.
    static bool parseTime(const std::string& text, double sampleRate, int64_t* sample);

    // The values that the parameters have when the render starts.
    void setStartValues(const Effect& effect);
    // Adds the points that fall into samples [start, start + length) to
    // `changes`, with the straight-line value at the block's last sample so
    // that a ramp continues across blocks.
    void schedule(int64_t start, int32_t length, ParameterChanges& changes) const;

    const std::vector<Lane>& lanes() const { return laneList; }

private:
    std::vector<Lane> laneList;
};

} // namespace Tannhofen::Host::Cli
