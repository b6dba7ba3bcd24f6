#include "mix/controller_tables.h"

#include <array>
#include <cstring>
#include <string>

namespace Tannhofen::Mix {

using Plx::SpeakerArrangement;
namespace Spk = Plx::Speaker;

namespace {

constexpr int32_t kFrontSpeakers[] = {0, 1, 2, 5, 6, 11, 12, 13, 21, 22, 23};
constexpr int32_t kStereoSpeakers[] = {0, 1};
constexpr int32_t kSurroundSpeakers[] = {3, 4, 7, 8, 9, 14, 15, 16, 17, 18, 19, 20};
constexpr int32_t kLfeSpeakers[] = {24, 25};
constexpr int32_t kTopSpeakers[] = {10, 11, 12, 13, 14, 15, 16, 17, 18};
constexpr int32_t kSideSpeakers[] = {8, 9, 17, 18};

constexpr SoloGroup kGroups[] = {
    {SoloGroupId::kInputFront, SoloGroupId::kOutputFront, kFrontSpeakers},
    {SoloGroupId::kInputStereo, SoloGroupId::kOutputStereo, kStereoSpeakers},
    {SoloGroupId::kInputSurround, SoloGroupId::kOutputSurround, kSurroundSpeakers},
    {SoloGroupId::kInputLfe, SoloGroupId::kOutputLfe, kLfeSpeakers},
    {SoloGroupId::kInputTop, SoloGroupId::kOutputTop, kTopSpeakers},
    {SoloGroupId::kInputSide, SoloGroupId::kOutputSide, kSideSpeakers},
};

constexpr SpeakerArrangement kHasSets[EditorParamId::kHasCount] = {
    Spk::L | Spk::R,
    Spk::L | Spk::R | Spk::C,
    Spk::C,
    Spk::Ls | Spk::Rs,
    Spk::L | Spk::R | Spk::Cs,
    Spk::Cs,
    Spk::L | Spk::R | Spk::C | Spk::Cs,
    Spk::LFE,
    Spk::Tsl | Spk::Tsr,
    Spk::Tfl | Spk::Tfr,
    Spk::Tfc,
    Spk::Tc,
    Spk::Trl | Spk::Trr,
    Spk::Trc,
    Spk::LFE2,
    Spk::Bfl | Spk::Bfr,
    Spk::Bfc,
};

constexpr const char* kHasWords[EditorParamId::kHasCount] = {
    "LR",   "LRC", "C",  "SLR",  "LRS", "CS",   "LRCS", "Lfe", "TSLR",
    "TFLR", "TFC", "Tc", "TRLR", "TRC", "Lfe2", "BFLR", "BFC",
};

constexpr const char* kSpeakerWords[Plx::kSpeakerIndexCount] = {
    "L",   "R",   "C",   "Ls",  "Rs",  "Lc",  "Rc",  "Cs",  "Sl",  "Sr",  "Tc",  "Tfl", "Tfc",
    "Tfr", "Trl", "Trc", "Trr", "Tsl", "Tsr", "Lcs", "Rcs", "Bfl", "Bfc", "Bfr", "Lfe", "Lfe2",
};

struct RemoteName {
    const char* name;
    int32_t id;
};

// The input speakers, in the order remote surfaces list them; the output
// family "out:speaker:..." is the same with ids 42 lower.
constexpr RemoteName kSpeakerNames[] = {
    {"front:left", 59},         {"front:right", 60},
    {"front:center", 61},       {"subbass", 83},
    {"rear:left", 62},          {"rear:right", 63},
    {"front:midleft", 64},      {"front:midright", 65},
    {"rear:center", 66},        {"side:left", 67},
    {"side:right", 68},         {"top:middle", 69},
    {"top:front:left", 70},     {"top:front:center", 71},
    {"top:front:right", 72},    {"top:rear:left", 73},
    {"top:rear:center", 74},    {"top:rear:right", 75},
    {"top:side:left", 76},      {"top:side:right", 77},
    {"rear:midleft", 78},       {"rear:midright", 79},
    {"bottom:front:left", 80},  {"bottom:front:center", 81},
    {"bottom:front:right", 82},
};
constexpr int32_t kOutputSpeakerOffset = 59 - 17;

constexpr RemoteName kMixerNames[] = {
    {"solo:front", 266},    {"solo:LR", 267},         {"solo:rear", 268},      {"solo:lfe", 269},
    {"solo:top", 270},      {"solo:SlSr", 278},       {"solo:cancel", 276},    {"out:solo:front", 271},
    {"out:solo:LR", 272},   {"out:solo:rear", 273},   {"out:solo:lfe", 274},   {"out:solo:top", 275},
    {"out:solo:SlSr", 279}, {"out:solo:cancel", 277}, {"solo-to-center", 131}, {"rear-to-front", 132},
    {"centerLevel", 128},   {"surroundLevel", 129},   {"sideLevel", 135},      {"topLevel", 136},
    {"bottomLevel", 138},   {"lfeLevel", 11},         {"globalLevel", 134},    {"outputArrangement", 130},
    {"lowPassFilter", 133}, {"reset", 256},
};

bool startsWith(const char* text, const char* prefix, const char** rest) {
    const size_t n = std::strlen(prefix);
    if (std::strncmp(text, prefix, n) != 0) return false;
    *rest = text + n;
    return true;
}

bool findSpeakerName(const char* word, int32_t& id) {
    for (const RemoteName& entry : kSpeakerNames)
        if (std::strcmp(word, entry.name) == 0) {
            id = entry.id;
            return true;
        }
    return false;
}

// The names of the editor-only parameters, built once.
struct EditorNames {
    std::array<std::string, EditorParamId::kHasCount * 2> has;
    std::array<std::string, Plx::kSpeakerIndexCount * 2> push;
    EditorNames() {
        for (int32_t i = 0; i < EditorParamId::kHasCount; ++i) {
            has[i] = std::string("hasIn") + kHasWords[i];
            has[i + EditorParamId::kHasCount] = std::string("hasOut") + kHasWords[i];
        }
        for (int32_t i = 0; i < Plx::kSpeakerIndexCount; ++i) {
            push[i] = std::string("pushInSpk") + kSpeakerWords[i];
            push[i + Plx::kSpeakerIndexCount] = std::string("pushOutSpk") + kSpeakerWords[i];
        }
    }
};

const EditorNames& editorNames() {
    static const EditorNames names;
    return names;
}

} // namespace

std::span<const SoloGroup> soloGroups() {
    return kGroups;
}

const SoloGroup* findSoloGroup(int32_t id) {
    for (const SoloGroup& group : kGroups)
        if (group.inputId == id || group.outputId == id) return &group;
    return nullptr;
}

bool isInputGroupId(int32_t id) {
    for (const SoloGroup& group : kGroups)
        if (group.inputId == id) return true;
    return false;
}

bool isSoloGroupAvailable(const SoloGroup& group, SpeakerArrangement arrangement) {
    SpeakerArrangement own = 0;
    for (int32_t index : group.speakers) own |= Plx::indexToBit(index);
    const bool has = (arrangement & own) != 0;
    if (group.inputId == SoloGroupId::kInputTop || group.inputId == SoloGroupId::kInputSide) return has;
    if (group.inputId == SoloGroupId::kInputStereo)
        return (arrangement & own) == own && (arrangement & ~own) != 0;
    return has && (arrangement & ~own) != 0;
}

std::span<const SpeakerArrangement> hasSpeakerSets() {
    return kHasSets;
}

const char* editorParamName(int32_t id) {
    using namespace EditorParamId;
    const EditorNames& names = editorNames();
    if (id >= kHasInFirst && id < kHasInFirst + 2 * kHasCount)
        return names.has[static_cast<size_t>(id - kHasInFirst)].c_str();
    if (id >= kPushInFirst && id < kPushInFirst + 2 * Plx::kSpeakerIndexCount)
        return names.push[static_cast<size_t>(id - kPushInFirst)].c_str();
    switch (id) {
    case kInInputSoloMode: return "inInputSoloMode";
    case kInOutputSoloMode: return "inOutputSoloMode";
    case kLfeVolActiveGui: return "lfeVolActiveGUI";
    case kIsInsert: return "isInsert";
    case kResetFromGui: return "resetFromGUI";
    case kExpandInput: return "expandInput";
    case kExpandOutput: return "expandOutput";
    case kInputArrangement: return "inputArrangement";
    case kOutputArrangement: return "outputArrangement";
    default: return nullptr;
    }
}

bool baseRemoteNameToId(const char* name, int32_t& id) {
    if (name && std::strcmp(name, "PanLfeGain") == 0) {
        id = 11;
        return true;
    }
    id = kUnknownRemoteId;
    return false;
}

bool mixerRemoteNameToId(const char* name, int32_t& id) {
    if (!name) {
        id = kUnknownRemoteId;
        return false;
    }
    const char* rest = nullptr;
    if (startsWith(name, "speaker:", &rest) && findSpeakerName(rest, id)) return true;
    if (startsWith(name, "out:speaker:", &rest) && findSpeakerName(rest, id)) {
        id -= kOutputSpeakerOffset;
        return true;
    }
    for (const RemoteName& entry : kMixerNames)
        if (std::strcmp(name, entry.name) == 0) {
            id = entry.id;
            return true;
        }
    return baseRemoteNameToId(name, id);
}

std::string mixerRemoteName(int32_t id) {
    for (const RemoteName& entry : kSpeakerNames) {
        if (entry.id == id) return std::string("speaker:") + entry.name;
        if (entry.id - kOutputSpeakerOffset == id) return std::string("out:speaker:") + entry.name;
    }
    for (const RemoteName& entry : kMixerNames)
        if (entry.id == id) return entry.name;
    return {};
}

const char* mixerEditorName(const char* name, bool nivora) {
    if (!name) return nullptr;
    if (std::strcmp(name, "editor") == 0) return nivora ? "MixMorphNivora" : "MixMorphKestra";
    if (std::strcmp(name, "embeddedEditor") == 0)
        return nivora ? "AudioPlugEmbeddedMixMorphNivora" : "AudioPlugEmbeddedMixMorphKestra";
    return nullptr;
}

} // namespace Tannhofen::Mix
