// The panner's part of plx demo: a mono source orbiting a 7.1.4 layout and
// a stereo image rotating over 5.1. Each scene is rendered to speakers, with
// the gain of every speaker over time drawn from the rendered files, and once
// more in object mode, whose positions draw the trajectory of each channel
// seen from above and from the side.
#pragma once

#include <string>

#include "host/plx/effect.h"

namespace Tannhofen::Host::Cli {

// Writes the scenes into `dir` and tells what it wrote on standard output.
void pannerDemo(ModuleSession& session, const EffectClass& panner, const std::string& dir, bool quiet);

} // namespace Tannhofen::Host::Cli
