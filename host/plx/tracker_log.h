// Head-tracker logs as automation of SphereDecoder's rotation: each log line
// TIME YAW PITCH ROLL becomes points of the "Yaw", "Pitch" and "Roll"
// parameters, whose values in degrees are the tracker's own angles. Yaw and
// roll wrap around at +-180 degrees: where the head turns across that point,
// the automation jumps from one end of the range to the other within one
// sample (both ends are the same rotation), so that the sound field never
// sweeps the long way round between two points.
#pragma once

#include <string>
#include <vector>

namespace Tannhofen::Host::Cli {

struct TrackerPoint {
    int64_t sample;
    double yaw, pitch, roll; // degrees: yaw and roll within -180..180, pitch within -90..90
};

// Reads a log: one point per line, TIME YAW PITCH ROLL separated by spaces,
// tabs or commas, '#' starting a comment; TIME as in automation files, at
// `sampleRate`; angles in degrees, or in radians when `radians`. Times must
// rise. UserError, naming `source` and the line, for anything else.
std::vector<TrackerPoint> parseTrackerLog(const std::string& text, const std::string& source,
                                          double sampleRate, bool radians);

// The automation file of those points, with the jumps at +-180 degrees.
std::string trackerAutomation(const std::vector<TrackerPoint>& points);

// plx tracker-log --in LOG --out FILE [--rate HZ] [--radians]
int trackerLogCommand(const std::vector<std::string>& args);

} // namespace Tannhofen::Host::Cli
