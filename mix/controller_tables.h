// The fixed tables of the mix controllers: solo groups, the parameters that
// only the editor sees, the names by which remote control surfaces address
// parameters, and the editor's view names.
#pragma once

#include <cstdint>
#include <span>
#include <string>

#include "frame/speaker_arrangement.h"
#include "mix/param_ids.h"

namespace Tannhofen::Mix {

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
// The converter's remote name of a parameter; empty for an id without one.
std::string mixerRemoteName(int32_t id);

// The view that an editor name resolves to, or null for an unknown name.
const char* mixerEditorName(const char* name, bool nivora);

} // namespace Tannhofen::Mix
