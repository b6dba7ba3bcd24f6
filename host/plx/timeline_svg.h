// Drawings of a render over time: the paths of objects through the room,
// seen from above and from the side, and the gain of each output speaker.
#pragma once

#include <string>
#include <vector>

namespace Tannhofen::Host::Cli {

// One row of object mode's positions: x -1 left to 1 right, y 1 front to -1
// rear, z 0 bottom to 1 top.
struct ObjectPoint {
    double time;
    int object; // from 1
    double x, y, z;
};

// The rows of a positions CSV ("time,object,x,y,z" and one row per line);
// lines that aren't rows are skipped.
std::vector<ObjectPoint> parseObjectPoints(const std::string& csv);

// Each object's path, in a colour of its own with its start marked: from
// above (front at the top) beside from the side (front at the left).
std::string trajectorySvg(const std::string& title, const std::vector<ObjectPoint>& points);

// Gains over time: `gains[w][c]` is the linear gain of output `c` in window
// `w`, each window `windowSeconds` long; one line per speaker in dB.
std::string gainsSvg(const std::string& title, const std::vector<std::string>& speakers, double windowSeconds,
                     const std::vector<std::vector<double>>& gains);

} // namespace Tannhofen::Host::Cli
