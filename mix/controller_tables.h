// The fixed tables of the mix controllers: solo groups, the parameters that
// only the editor sees, the names by which remote control surfaces address
// parameters, and the editor's view names.
#pragma once

#include <cstdint>
#include <span>

#include "frame/speaker_arrangement.h"

namespace Tannhofen::Mix {

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

struct SoloGroup {
    int32_t inputId;
    int32_t outputId;
    std::span<const int32_t> speakers; // speaker indices
};

// The six groups, in the order of the controller's group lists.
std::span<const SoloGroup> soloGroups();
// The group of an input or output group id, or null.
const SoloGroup* findSoloGroup(int32_t id);
bool isInputGroupId(int32_t id);

// Whether a group's buttons make sense for `arrangement`: the front, stereo,
// surround and LFE groups need other speakers besides their own; the top and
// side groups need their speakers only.
bool isSoloGroupAvailable(const SoloGroup& group, Plx::SpeakerArrangement arrangement);

// The "has..." sets: parameter kHasInFirst + i is on when the input holds
// every speaker of set i.
std::span<const Plx::SpeakerArrangement> hasSpeakerSets();

// Names of the editor-only parameters, by id; null for other ids.
const char* editorParamName(int32_t id);

// Remote control names. The base controller knows "PanLfeGain" only; the
// converter's controller knows its whole table. Unknown names give
// kUnknownRemoteId and false.
inline constexpr int32_t kUnknownRemoteId = 1024;
bool baseRemoteNameToId(const char* name, int32_t& id);
bool mixerRemoteNameToId(const char* name, int32_t& id);

// The view that an editor name resolves to, or null for an unknown name.
const char* mixerEditorName(const char* name, bool nivora);

} // namespace Tannhofen::Mix
