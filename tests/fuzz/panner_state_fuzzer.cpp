// libFuzzer target: the panner's processor and controller read arbitrary
// bytes as a saved state (see state_fuzz.h for what each input does).
#include <utility>

#include "panner/radial_panner.h"
#include "panner/rpanner_controller.h"
#include "panner/rpanner_param_table.h"
#include "tests/fuzz/state_fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace Tannhofen;
    // A stereo image over 7.1.4, moved, tilted and with a pattern on.
    static StateFuzz::Plugin<Panner::RadialPanner, Panner::RPannerController> plugin(
        Plx::Layout::kStereo, Plx::Layout::k7_1_4, [](Panner::RadialPanner& processor) {
            for (auto [id, value] :
                 {std::pair{0, 0.2}, {1, 0.7}, {2, 0.4}, {104, 0.3}, {111, 3.0 / 7.0}, {200, 0.5}})
                processor.setPlainValue(id, Panner::RPannerParamTable::instance().toPlain(id, value));
        });
    return plugin.run(data, size);
}
