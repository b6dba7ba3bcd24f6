// The module's copy-protection check: whether this copy of the module may run
// unrestricted. It gates the factory's class registration and the processors'
// start-up. The shipped module always passes.
#pragma once

namespace Tannhofen::Plx {

bool copyProtectionPasses();

// For tests that link the frame library: forces the answer (1 yes, 0 no), or
// gives the shipped behaviour back (-1). Not reachable through the module.
void overrideCopyProtectionForTesting(int answer);

} // namespace Tannhofen::Plx
