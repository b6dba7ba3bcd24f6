// libFuzzer target: MixMorph's processor and controller read arbitrary bytes
// as a saved state (see state_fuzz.h for what each input does).
#include "mix/matrix_mixer.h"
#include "mix/mixer_controller.h"
#include "tests/fuzz/state_fuzz.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace Tannhofen;
    static StateFuzz::Plugin<Mix::MatrixMixer, Mix::MMixerController> plugin(
        Plx::Layout::k5_1, Plx::Layout::kStereo, [](auto&) {});
    return plugin.run(data, size);
}
