// Parameter ids of the panner, shared by processor, controller and state, and
// the change messages of its model.
#pragma once

#include <cstdint>

#include "mix/mixer_base_model.h"

namespace Tannhofen::Panner {

namespace ParamId {
inline constexpr int32_t kPosX = 0;
inline constexpr int32_t kPosY = 1;
inline constexpr int32_t kPosZ = 2;
inline constexpr int32_t kCenterDistr = 6;
inline constexpr int32_t kFrontDiv = 7;
inline constexpr int32_t kRearDiv = 8;
inline constexpr int32_t kFrontRearDiv = 9; // "Side Focus": depth divergence
inline constexpr int32_t kLfeVol = Mix::ParamId::kLfeLevel;
inline constexpr int32_t kScaleZ = 102;
inline constexpr int32_t kBottomTopDiv = 103; // "Height Focus"
inline constexpr int32_t kTiltY = 104;
inline constexpr int32_t kTiltX = 105;
inline constexpr int32_t kElevationOn = 110;
inline constexpr int32_t kElevationMode = 111;
inline constexpr int32_t kShowExtendedDisplay = 112;
inline constexpr int32_t kObjectModeSwitch = 113; // "bedobjectautomode"
inline constexpr int32_t kObjectSize = 114;
inline constexpr int32_t kSpeakerSnap = 115;
inline constexpr int32_t kZoneMode = 116;
inline constexpr int32_t kDistanceScale = 117;
inline constexpr int32_t kBypass = Mix::ParamId::kDirectMode;
inline constexpr int32_t kScaleX = 200;
inline constexpr int32_t kScaleY = 201;
inline constexpr int32_t kRotateZ = 202;
inline constexpr int32_t kSpeakerFirst = 203; // 203 to 228: speaker on/off by speaker index
inline constexpr int32_t kSpeakerLast = 228;
inline constexpr int32_t kReset = 256;
inline constexpr int32_t kOrbit = 257; // "rollC"
inline constexpr int32_t kCounterShot = 258;
inline constexpr int32_t kUnlockOrbit = 259;
inline constexpr int32_t kRadius = 260;
inline constexpr int32_t kOverview = 261;
inline constexpr int32_t kPosLX = 262;
inline constexpr int32_t kPosLY = 263;
inline constexpr int32_t kPosRX = 264;
inline constexpr int32_t kPosRY = 265;
inline constexpr int32_t kPosLZ = 280;
inline constexpr int32_t kPosRZ = 281;
inline constexpr int32_t kHas3DConnector = 282;
inline constexpr int32_t kThreeDActiveGui = 283;
inline constexpr int32_t kAmbiActiveGui = 284;
inline constexpr int32_t kPosTouched = 285;
inline constexpr int32_t kBedModeRadio = 500;
inline constexpr int32_t kObjectModeRadio = 501;
} // namespace ParamId

// Change messages of RPannerModel to its dependents (the controller's editor).
namespace PannerMessage {
inline constexpr int32_t kClearOutputSolos = 0x401; // reserved; the controller clears all output solos
inline constexpr int32_t kSpeakerOffChanged = 0x402;
inline constexpr int32_t kBypassChanged = Mix::ModelMessage::kDirectChanged; // 0x403
inline constexpr int32_t kPositionsChanged = 0x404;
inline constexpr int32_t kDivergenceChanged = 0x405;
inline constexpr int32_t kObjectSizeChanged = 0x406;
inline constexpr int32_t kCenterChanged = 0x407; // centre distribution, a front speaker, or Lc came or went
inline constexpr int32_t kOrbitChanged = 0x408;
inline constexpr int32_t kRadiusChanged = 0x409;
inline constexpr int32_t kObjectModeChanged = 0x40A;
inline constexpr int32_t kPointerChanged = 0x40B;
inline constexpr int32_t kDistanceScaleChanged = 0x40C;
inline constexpr int32_t kArrangementChanged = 0x40D;
} // namespace PannerMessage

} // namespace Tannhofen::Panner
