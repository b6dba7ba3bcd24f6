// plx's drawings as SVG: a gain matrix as a heat map, one cell per input
// (row) and output (column), shaded by its gain, labelled with speaker names
// and the gain; and the pieces that every drawing shares.
#pragma once

#include <string>
#include <vector>

namespace Tannhofen::Host::Cli {

// printf of up to four numbers into a short text.
std::string svgFormat(const char* pattern, double a, double b = 0, double c = 0, double d = 0);
// The opening of a drawing: the <svg> element on white, with its title.
std::string svgHead(double width, double height, const std::string& title);

std::string matrixSvg(const std::string& title, const std::vector<std::string>& rows,
                      const std::vector<std::string>& columns, const std::vector<float>& gains);

} // namespace Tannhofen::Host::Cli
