// Measured HRIR sets for SphereDecoder's binaural decoding. plx offers the
// SOFA file through its host's file selector and presses the decoder editor's
// "Load SOFA" button, as a user picking the file would; once the decoder runs,
// the editor's HRIR mode tells whether the file's set is in force.
#pragma once

#include <string>

#include "host/plx/effect.h"

namespace Tannhofen::Host::Cli {

// Chooses `path` for an effect that is set up but not started. UserError when
// the file isn't there, when the effect has no SOFA choice, or when it won't
// decode binaurally with the present output.
void chooseSofa(ModuleSession& session, Effect& effect, const std::string& path);

// After the start: UserError when the decoder could not build a set from the
// file and fell back to its standard set.
void checkSofaInForce(Effect& effect, const std::string& path);

} // namespace Tannhofen::Host::Cli
