#include "host/plx/tracker_log.h"

#include <cmath>
#include <cstdio>

#include "host/plx/automation.h"
#include "host/plx/cli.h"
#include "host/plx/output_file.h"
#include "host/plx/values.h"

namespace Tannhofen::Host::Cli {

namespace {

// An angle in degrees within (-180, 180].
double wrapDegrees(double degrees) {
    double a = std::fmod(degrees, 360.0);
    if (a > 180.0) a -= 360.0;
    if (a <= -180.0) a += 360.0;
    return a;
}

struct Lane {
    const char* name;
    bool wraps;
};

void appendPoint(std::string& out, int64_t sample, const char* name, double degrees) {
    char line[96];
    std::snprintf(line, sizeof line, "%lldsmp %s %.6f\n", static_cast<long long>(sample), name, degrees);
    out += line;
}

} // namespace

std::vector<TrackerPoint> parseTrackerLog(const std::string& text, const std::string& source,
                                          double sampleRate, bool radians) {
    std::vector<TrackerPoint> points;
    forEachLine(text, source, "TIME YAW PITCH ROLL",
                [&](const std::vector<std::string>& f, const std::string& where) {
                    if (f.size() != 4)
                        throw UserError(where + "expected TIME YAW PITCH ROLL, not " +
                                        std::to_string(f.size()) + " fields");
                    TrackerPoint point{};
                    if (!Automation::parseTime(f[0], sampleRate, &point.sample))
                        throw UserError(where + "bad time " + quoted(f[0]) +
                                        " (seconds as 1.5, 250ms, or samples as 72000smp)");
                    double angles[3] = {};
                    for (size_t i = 0; i < 3; ++i) {
                        if (!parseDecimal(f[i + 1], &angles[i]))
                            throw UserError(where + "bad angle " + quoted(f[i + 1]));
                        if (radians) angles[i] *= 180.0 / M_PI;
                    }
                    if (!points.empty() && point.sample <= points.back().sample)
                        throw UserError(where + "the time " + quoted(f[0]) +
                                        " does not come after the line before");
                    point.yaw = wrapDegrees(angles[0]);
                    point.pitch = std::fmax(-90.0, std::fmin(90.0, angles[1]));
                    point.roll = wrapDegrees(angles[2]);
                    points.push_back(point);
                });
    return points;
}

std::string trackerAutomation(const std::vector<TrackerPoint>& points) {
    std::string out = "# head rotation from a tracker log: time, parameter, degrees\n";
    const Lane lanes[3] = {{"Yaw", true}, {"Pitch", false}, {"Roll", true}};
    for (int lane = 0; lane < 3; ++lane) {
        auto angle = [lane](const TrackerPoint& p) {
            return lane == 0 ? p.yaw : lane == 1 ? p.pitch : p.roll;
        };
        for (size_t i = 0; i < points.size(); ++i) {
            const double now = angle(points[i]);
            if (i > 0 && lanes[lane].wraps) {
                // The short way from the last angle; past +-180 it crosses the seam.
                const double before = angle(points[i - 1]);
                const double step = wrapDegrees(now - before);
                const double reached = before + step;
                if (reached > 180.0 || reached < -180.0) {
                    const double seam = reached > 180.0 ? 180.0 : -180.0;
                    const double fraction = (seam - before) / step;
                    const int64_t from = points[i - 1].sample, to = points[i].sample;
                    const auto at =
                        std::max(from, std::min(to - 2, static_cast<int64_t>(std::floor(
                                                            from + fraction * double(to - from)))));
                    if (at > from) appendPoint(out, at, lanes[lane].name, seam);
                    appendPoint(out, at + 1, lanes[lane].name, -seam);
                }
            }
            appendPoint(out, points[i].sample, lanes[lane].name, now);
        }
    }
    return out;
}

int trackerLogCommand(const std::vector<std::string>& args) {
    const Options options(args, {"module", "in", "out", "rate"}, {"radians"});
    const std::string input = options.require("in");
    const std::string output = options.require("out");
    const long rate = options.getInt("rate", 48000, 1000, 768000);
    const std::vector<uint8_t> bytes = readSmallFile(input, "tracker log", kMaxSmallFileBytes);
    const std::vector<TrackerPoint> points =
        parseTrackerLog(std::string(bytes.begin(), bytes.end()), shown(input), static_cast<double>(rate),
                        options.has("radians"));
    if (points.empty()) throw UserError(shown(input) + " holds no tracker points");
    const std::string text = trackerAutomation(points);
    OutputFile file(output);
    file.write(text.data(), text.size());
    file.commit();
    std::printf("%s: %zu tracker points as automation of Yaw, Pitch and Roll at %ld Hz\n",
                shown(output).c_str(), points.size(), rate);
    return 0;
}

} // namespace Tannhofen::Host::Cli
