// Parameter ids of the mix plug-ins: shared by processor, controller and
// state (ParamId), the editor's own parameters (EditorParamId), and the solo
// groups with their resets (SoloGroupId).
#pragma once

#include <cstdint>

namespace Tannhofen::Mix {

namespace ParamId {
inline constexpr int32_t kLfeLevel = 11;
inline constexpr int32_t kOutputSoloFirst = 17; // 17 to 42: output solo by speaker index
inline constexpr int32_t kOutputSoloLast = 42;
inline constexpr int32_t kInputSoloFirst = 59; // 59 to 84: input solo by speaker index
inline constexpr int32_t kInputSoloLast = 84;
inline constexpr int32_t kCenterLvl = 128;
inline constexpr int32_t kSurroundLvl = 129;
inline constexpr int32_t kOutputArr = 130;
inline constexpr int32_t kSoloToCenter = 131;
inline constexpr int32_t kSurroundToFront = 132;
inline constexpr int32_t kLowPass = 133;
inline constexpr int32_t kGlobalLvl = 134;
inline constexpr int32_t kSideLvl = 135;
inline constexpr int32_t kTopLvl = 136;
inline constexpr int32_t kActiveParts = 137;
inline constexpr int32_t kBottomLvl = 138;
inline constexpr int32_t kDirectMode = 199;
inline constexpr int32_t kReset = 256;
} // namespace ParamId

// Ids of the parameters that only the editor uses.
namespace EditorParamId {
inline constexpr int32_t kHasInFirst = 301;  // 301 to 317: "hasIn..." speaker sets of the input
inline constexpr int32_t kHasOutFirst = 318; // 318 to 334: the same for the output
inline constexpr int32_t kHasCount = 17;
inline constexpr int32_t kPushInFirst = 335;  // 335 to 360: input solo buttons by speaker index
inline constexpr int32_t kPushOutFirst = 361; // 361 to 386: output solo buttons
inline constexpr int32_t kInInputSoloMode = 387;
inline constexpr int32_t kInOutputSoloMode = 388;
inline constexpr int32_t kResetFromGui = 397;
inline constexpr int32_t kLfeVolActiveGui = 398;
inline constexpr int32_t kIsInsert = 807;
inline constexpr int32_t kInputArrangement = 808;
inline constexpr int32_t kOutputArrangement = 809;
inline constexpr int32_t kExpandInput = 810;
inline constexpr int32_t kExpandOutput = 811;
} // namespace EditorParamId

// Ids of the solo groups and their resets.
namespace SoloGroupId {
inline constexpr int32_t kInputFront = 266;
inline constexpr int32_t kInputStereo = 267;
inline constexpr int32_t kInputSurround = 268;
inline constexpr int32_t kInputLfe = 269;
inline constexpr int32_t kInputTop = 270;
inline constexpr int32_t kInputSide = 278;
inline constexpr int32_t kOutputFront = 271;
inline constexpr int32_t kOutputStereo = 272;
inline constexpr int32_t kOutputSurround = 273;
inline constexpr int32_t kOutputLfe = 274;
inline constexpr int32_t kOutputTop = 275;
inline constexpr int32_t kOutputSide = 279;
inline constexpr int32_t kResetInput = 276;
inline constexpr int32_t kResetOutput = 277;
} // namespace SoloGroupId

} // namespace Tannhofen::Mix
