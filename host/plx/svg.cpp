#include "host/plx/svg.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "editor/xml_text.h"

namespace Tannhofen::Host::Cli {

namespace {

// White for silence through orange to deep red for the largest gain.
std::string shade(double fraction) {
    fraction = std::clamp(fraction, 0.0, 1.0);
    const int r = static_cast<int>(255 - 80 * fraction);
    const int g = static_cast<int>(255 - 235 * fraction);
    const int b = static_cast<int>(255 - 225 * std::sqrt(fraction));
    char text[16];
    std::snprintf(text, sizeof text, "#%02x%02x%02x", r, g, b);
    return text;
}

} // namespace

std::string svgFormat(const char* pattern, double a, double b, double c, double d) {
    char text[256];
    std::snprintf(text, sizeof text, pattern, a, b, c, d);
    return text;
}

std::string svgHead(double width, double height, const std::string& title) {
    std::string svg = svgFormat("<svg xmlns=\"http://www.w3.org/2000/svg\" width=\"%.0f\" height=\"%.0f\" "
                                "font-family=\"sans-serif\" font-size=\"12\">\n",
                                width, height);
    svg += "<rect width=\"100%\" height=\"100%\" fill=\"white\"/>\n";
    svg += "<text x=\"10\" y=\"20\" font-size=\"14\" font-weight=\"bold\">" + Editor::xmlEscape(title) +
           "</text>\n";
    return svg;
}

std::string matrixSvg(const std::string& title, const std::vector<std::string>& rows,
                      const std::vector<std::string>& columns, const std::vector<float>& gains) {
    const double cell = 56, left = 70, top = 76;
    const double width = left + cell * static_cast<double>(columns.size()) + 20;
    const double height = top + cell * static_cast<double>(rows.size()) + 20;
    float largest = 0;
    for (float g : gains) largest = std::max(largest, std::fabs(g));
    std::string svg = svgHead(width, height, title);
    svg += svgFormat("<text x=\"%.0f\" y=\"44\" fill=\"#555\">outputs</text>\n", left);
    svg += svgFormat("<text x=\"10\" y=\"%.0f\" fill=\"#555\">inputs</text>\n", top - 8);
    for (size_t c = 0; c < columns.size(); ++c)
        svg += svgFormat("<text x=\"%.1f\" y=\"%.0f\" text-anchor=\"middle\">", left + cell * (c + 0.5),
                         top - 8) +
               Editor::xmlEscape(columns[c]) + "</text>\n";
    for (size_t r = 0; r < rows.size(); ++r) {
        svg += svgFormat("<text x=\"%.0f\" y=\"%.1f\" text-anchor=\"end\">", left - 8,
                         top + cell * (r + 0.5) + 4) +
               Editor::xmlEscape(rows[r]) + "</text>\n";
        for (size_t c = 0; c < columns.size(); ++c) {
            const size_t index = r * columns.size() + c;
            const double g = index < gains.size() ? gains[index] : 0.0;
            const double fraction = largest > 0 ? std::fabs(g) / largest : 0.0;
            svg += svgFormat("<rect x=\"%.1f\" y=\"%.1f\" width=\"%.0f\" height=\"%.0f\" stroke=\"#ccc\" ",
                             left + cell * c, top + cell * r, cell, cell) +
                   "fill=\"" + shade(fraction) + "\"><title>" + Editor::xmlEscape(rows[r]) + " to " +
                   Editor::xmlEscape(columns[c]) + svgFormat(": %.4f</title></rect>\n", g);
            if (g != 0.0)
                svg += svgFormat("<text x=\"%.1f\" y=\"%.1f\" text-anchor=\"middle\" font-size=\"11\" ",
                                 left + cell * (c + 0.5), top + cell * (r + 0.5) + 4) +
                       (fraction > 0.6 ? "fill=\"white\">" : "fill=\"black\">") +
                       svgFormat("%.3f</text>\n", g);
        }
    }
    svg += "</svg>\n";
    return svg;
}

} // namespace Tannhofen::Host::Cli
