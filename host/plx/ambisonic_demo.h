// The decoder's part of the demo: a third-order ambisonic scene in which five
// sources beep from five directions (front once, left twice, behind three
// times, right four times, above five times, each at its own pitch), rendered
// to the ears while the head turns once around, and on 7.1.4.
#pragma once

#include <string>

#include "host/plx/effect.h"

namespace Tannhofen::Host::Cli {

// Whether an effect takes ambisonic input and no speaker layout: a decoder.
bool takesOnlyAmbisonics(Effect& effect);

// Writes the scene into `dir` and renders it through the effect; prints
// what it wrote. Answers the number of renders made.
int renderAmbisonicDemo(ModuleSession& session, const EffectClass& effectClass, const std::string& dir,
                        bool quiet);

} // namespace Tannhofen::Host::Cli
