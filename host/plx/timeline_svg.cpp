#include "host/plx/timeline_svg.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <map>
#include <sstream>

#include "editor/xml_text.h"
#include "host/plx/svg.h"

namespace Tannhofen::Host::Cli {

namespace {

const char* const kColours[] = {"#d62728", "#1f77b4", "#2ca02c", "#ff7f0e", "#9467bd", "#8c564b",
                                "#e377c2", "#7f7f7f", "#bcbd22", "#17becf", "#393b79", "#637939"};

const char* colour(size_t index) {
    return kColours[index % (sizeof kColours / sizeof kColours[0])];
}

// A polyline through `points` (already in drawing coordinates).
std::string polyline(const std::vector<std::pair<double, double>>& points, const char* stroke) {
    std::string svg = "<polyline fill=\"none\" stroke-width=\"1.5\" stroke=\"";
    svg += stroke;
    svg += "\" points=\"";
    for (const auto& [x, y] : points) svg += svgFormat("%.1f,%.1f ", x, y);
    svg += "\"/>\n";
    return svg;
}

} // namespace

std::vector<ObjectPoint> parseObjectPoints(const std::string& csv) {
    std::vector<ObjectPoint> points;
    std::istringstream lines(csv);
    std::string line;
    while (std::getline(lines, line)) {
        ObjectPoint p{};
        if (std::sscanf(line.c_str(), "%lf,%d,%lf,%lf,%lf", &p.time, &p.object, &p.x, &p.y, &p.z) == 5)
            points.push_back(p);
    }
    return points;
}

std::string trajectorySvg(const std::string& title, const std::vector<ObjectPoint>& points) {
    // Two panels of 300 x 300 (above) and 300 x 150 (side): the room is 2 wide,
    // 2 deep and 1 high.
    const double size = 300, gap = 60, left = 40, top = 60;
    std::map<int, std::pair<std::vector<std::pair<double, double>>, std::vector<std::pair<double, double>>>>
        paths;
    for (const ObjectPoint& p : points) {
        auto& [above, side] = paths[p.object];
        above.emplace_back(left + (p.x + 1) / 2 * size, top + (1 - p.y) / 2 * size);
        side.emplace_back(left + size + gap + (1 - p.y) / 2 * size, top + size - p.z * size / 2);
    }
    const double sideLeft = left + size + gap;
    std::string svg = svgHead(left + 2 * size + gap + 120, top + size + 40, title);
    svg += svgFormat(
        "<rect x=\"%.0f\" y=\"%.0f\" width=\"%.0f\" height=\"%.0f\" fill=\"none\" stroke=\"#999\"/>\n", left,
        top, size, size);
    svg += svgFormat(
        "<rect x=\"%.0f\" y=\"%.0f\" width=\"%.0f\" height=\"%.0f\" fill=\"none\" stroke=\"#999\"/>\n",
        sideLeft, top + size / 2, size, size / 2);
    svg += svgFormat("<text x=\"%.0f\" y=\"%.0f\" fill=\"#555\">from above (front at the top)</text>\n", left,
                     top - 10);
    svg += svgFormat("<text x=\"%.0f\" y=\"%.0f\" fill=\"#555\">from the side (front at the left)</text>\n",
                     sideLeft, top + size / 2 - 10);
    svg +=
        svgFormat("<circle cx=\"%.1f\" cy=\"%.1f\" r=\"4\" fill=\"#555\"><title>listener</title></circle>\n",
                  left + size / 2, top + size / 2);
    size_t index = 0;
    for (const auto& [object, path] : paths) {
        const char* stroke = colour(index);
        svg += polyline(path.first, stroke) + polyline(path.second, stroke);
        for (const auto* start : {&path.first.front(), &path.second.front()})
            svg +=
                svgFormat("<circle cx=\"%.1f\" cy=\"%.1f\" r=\"3.5\" fill=\"", start->first, start->second) +
                stroke + "\"/>\n";
        const double legend = top + 20.0 * static_cast<double>(index);
        svg += svgFormat("<text x=\"%.0f\" y=\"%.0f\" fill=\"", sideLeft + size + 20, legend) + stroke +
               svgFormat("\">object %.0f</text>\n", object);
        ++index;
    }
    svg += "</svg>\n";
    return svg;
}

std::string gainsSvg(const std::string& title, const std::vector<std::string>& speakers, double windowSeconds,
                     const std::vector<std::vector<double>>& gains) {
    const double width = 640, height = 260, left = 60, top = 50, floorDb = -40, ceilingDb = 6;
    const double seconds = windowSeconds * static_cast<double>(gains.size());
    auto yOf = [&](double db) { return top + (ceilingDb - db) / (ceilingDb - floorDb) * height; };
    std::string svg = svgHead(left + width + 100, top + height + 50, title);
    svg += svgFormat(
        "<rect x=\"%.0f\" y=\"%.0f\" width=\"%.0f\" height=\"%.0f\" fill=\"none\" stroke=\"#999\"/>\n", left,
        top, width, height);
    for (double db = floorDb; db <= ceilingDb; db += 10) {
        svg += svgFormat("<line x1=\"%.0f\" x2=\"%.0f\" y1=\"%.1f\" y2=\"%.1f\" stroke=\"#eee\"/>\n", left,
                         left + width, yOf(db), yOf(db));
        svg += svgFormat("<text x=\"%.0f\" y=\"%.1f\" text-anchor=\"end\" fill=\"#555\">%.0f dB</text>\n",
                         left - 6, yOf(db) + 4, db);
    }
    svg += svgFormat("<text x=\"%.0f\" y=\"%.0f\" fill=\"#555\">0 s</text>\n", left, top + height + 18);
    svg += svgFormat("<text x=\"%.0f\" y=\"%.0f\" text-anchor=\"end\" fill=\"#555\">%.1f s</text>\n",
                     left + width, top + height + 18, seconds);
    for (size_t c = 0; c < speakers.size(); ++c) {
        std::vector<std::pair<double, double>> line;
        for (size_t w = 0; w < gains.size(); ++w) {
            const double g = c < gains[w].size() ? gains[w][c] : 0.0;
            const double db = g > 0 ? std::clamp(20 * std::log10(g), floorDb, ceilingDb) : floorDb;
            line.emplace_back(
                left + (static_cast<double>(w) + 0.5) / static_cast<double>(gains.size()) * width, yOf(db));
        }
        svg += polyline(line, colour(c));
        svg += svgFormat("<text x=\"%.0f\" y=\"%.0f\" fill=\"", left + width + 14, top + 14.0 * c + 10) +
               colour(c) + "\">" + Editor::xmlEscape(speakers[c]) + "</text>\n";
    }
    svg += "</svg>\n";
    return svg;
}

} // namespace Tannhofen::Host::Cli
