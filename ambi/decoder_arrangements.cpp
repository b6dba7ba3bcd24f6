#include "ambi/decoder_arrangements.h"

#include <array>

namespace Tannhofen::AmbiBin {

namespace {

using namespace Plx::Layout;

constexpr std::array<SpeakerArrangement, kDecoderOutputCount> kOutputs = {
    kMono,       k5_0,   k5_1,  k7_1Music, k7_0_2, k7_1_2, k5_1_4,
    k10_1Auro3D, k7_1_4, k22_2, kAmbi1,    kAmbi2, kAmbi3, kStereo};

} // namespace

int32_t ambisonicOrderOf(SpeakerArrangement arrangement) {
    switch (arrangement) {
    case kAmbi1: return 1;
    case kAmbi2: return 2;
    case kAmbi3: return 3;
    default: return 0;
    }
}

SpeakerArrangement ambisonicArrangement(int32_t order) {
    switch (order) {
    case 1: return kAmbi1;
    case 2: return kAmbi2;
    case 3: return kAmbi3;
    default: return 0;
    }
}

std::span<const SpeakerArrangement> decoderOutputs() {
    return kOutputs;
}

int32_t decoderOutputIndex(SpeakerArrangement arrangement) {
    for (size_t i = 0; i < kOutputs.size(); ++i)
        if (kOutputs[i] == arrangement) return static_cast<int32_t>(i);
    return -1;
}

} // namespace Tannhofen::AmbiBin
