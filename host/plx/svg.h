// A gain matrix as an SVG heat map: one cell per input (row) and output
// (column), shaded by its gain, labelled with speaker names and the gain.
#pragma once

#include <string>
#include <vector>

namespace Tannhofen::Host::Cli {

std::string matrixSvg(const std::string& title, const std::vector<std::string>& rows,
                      const std::vector<std::string>& columns, const std::vector<float>& gains);

} // namespace Tannhofen::Host::Cli
