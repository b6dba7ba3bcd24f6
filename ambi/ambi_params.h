// The decoder's parameters: the ids that processor, controller and state
// share, the ids of the editor's view-only controls, and the table of 56 rows
// from which the controller publishes the host-visible parameters.
//
// Row flags are those of the frame: bit 0 automatable, bit 1 read-only (the
// meters), bit 2 wraps around (yaw, roll and the focus azimuth), 0x20000 not
// saved (the output arrangement, which the processor's buses hold).
#pragma once

#include <cstdint>
#include <span>

#include "frame/param_info.h"

namespace Tannhofen::AmbiBin {

namespace ParamId {
inline constexpr int32_t kYaw = 110;
inline constexpr int32_t kPitch = 111;
inline constexpr int32_t kRoll = 112;
inline constexpr int32_t kHeadTracking = 123;
inline constexpr int32_t kAuxGain = 130; // the head-locked stereo input
inline constexpr int32_t kLfeGain = 131;
inline constexpr int32_t kLfeLowPass = 132;
inline constexpr int32_t kOutputArr = 133;
inline constexpr int32_t kFocusOn = 134;
inline constexpr int32_t kFocusAzimuth = 135;
inline constexpr int32_t kFocusElevation = 136;
inline constexpr int32_t kFocusSize = 137;
inline constexpr int32_t kFocusAttenuation = 138;
inline constexpr int32_t kFocusFollow = 139;
// Meters: one id per channel from the first, and one for the maximum.
inline constexpr int32_t kOutputMeterFirst = 200;
inline constexpr int32_t kOutputMeterCount = 24;
inline constexpr int32_t kOutputMeterMax = 300;
inline constexpr int32_t kInputMeterFirst = 600;
inline constexpr int32_t kInputMeterCount = 16;
inline constexpr int32_t kInputMeterMax = 700;
} // namespace ParamId

// The editor's view-only controls: they drive which parts of the editor are
// shown and which choices it offers, and never reach the host.
namespace ControlId {
inline constexpr int32_t kLoadSofa = 125;
inline constexpr int32_t kStereoModeBinaural = 800;
inline constexpr int32_t kStereoModeSpeaker = 801;
inline constexpr int32_t kModeStandard = 803; // the HRIR modes: id - 802 is the mode
inline constexpr int32_t kModeYoutube = 804;
inline constexpr int32_t kModeSofa = 805;
inline constexpr int32_t kModeFacebook = 806;
inline constexpr int32_t kModeImmerse = 807;
inline constexpr int32_t kModeOffset = 802;
inline constexpr int32_t kDecoderModeString = 809;
inline constexpr int32_t kSofaFileNameString = 810;
inline constexpr int32_t kSofaSelectorMenu = 811;
inline constexpr int32_t kGuiShowAuxGain = 812;
inline constexpr int32_t kGuiShowBinauralModeSelection = 813;
inline constexpr int32_t kGuiShowNotCompatible = 814;
inline constexpr int32_t kImmerseMsgString = 815;
inline constexpr int32_t kImmerseAlert = 816;
} // namespace ControlId

inline constexpr int32_t kAmbiParamCount = 56;

// The 56 rows, in the order the controller publishes them.
std::span<const Plx::ParamInfoRecord> ambiParamTable();
// The row of `id`, or null.
const Plx::ParamInfoRecord* findAmbiParam(int32_t id);

} // namespace Tannhofen::AmbiBin
