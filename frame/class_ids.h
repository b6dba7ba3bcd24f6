// The class IDs of the module's six classes, in the four-word form, the
// names of its plug-ins and its vendor.
#pragma once

#include "frame/funknown.h"

namespace Tannhofen::Plx {

inline constexpr FUID kRadialPannerProcessorUID{0xA3CA1186, 0xA3A241FE, 0xA5527171, 0x08932238};
inline constexpr FUID kRadialPannerControllerUID{0x437E811B, 0x63414AD1, 0x9F596507, 0x8277AD88};
inline constexpr FUID kMatrixMixerProcessorUID{0x4A18B5A8, 0x8A6B44D4, 0xB78F6E2F, 0xCC4746A2};
inline constexpr FUID kMatrixMixerControllerUID{0x8D1D0175, 0x7DFF4C43, 0xB95A1BE6, 0xDA9736F3};
inline constexpr FUID kAmbiBinProcessorUID{0x0CDBB669, 0x85D548A9, 0xBFD83719, 0x09D24BB4};
inline constexpr FUID kAmbiBinControllerUID{0x038E7FA9, 0x629A4EAA, 0x8541B889, 0x18E8952D};

inline constexpr const char* kVendorName = "Tannhofen Media Technologies";
inline constexpr const char* kVendorUrl = "https://www.tannhofen.de";

inline constexpr const char* kRadialPannerName = "PLX RadialPanner";
inline constexpr const char* kMatrixMixerName = "MixMorph V6";
inline constexpr const char* kAmbiBinName = "PLX SphereDecoder";

} // namespace Tannhofen::Plx
