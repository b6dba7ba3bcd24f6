#include "host/plx/layout.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <sndfile.h>

namespace Tannhofen::Host::Cli {

namespace {

std::string lower(std::string s) {
    std::transform(s.begin(), s.end(), s.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return s;
}

// Label of each speaker bit. Bits 20 to 23 and 38 to 49 are ambisonic
// channels, labelled by their channel number.
std::string bitLabel(int bit) {
    static const char* const kLabels[38] = {
        "L",   "R",   "C",   "LFE", "Ls",  "Rs",   "Lc", "Rc",  "Cs",  "Sl",  "Sr",  "Tc",  "Tfl",
        "Tfc", "Tfr", "Trl", "Trc", "Trr", "LFE2", "M",  "",    "",    "",    "",    "Tsl", "Tsr",
        "Lcs", "Rcs", "Bfl", "Bfc", "Bfr", "Pl",   "Pr", "Bsl", "Bsr", "Brl", "Brc", "Brr"};
    if (bit >= 20 && bit <= 23) return "ACN" + std::to_string(bit - 20);
    if (bit >= 38 && bit <= 49) return "ACN" + std::to_string(bit - 38 + 4);
    if (bit >= 0 && bit < 38) return kLabels[bit];
    return "bit" + std::to_string(bit);
}

// The libsndfile position of each of the first 18 speaker bits: these are
// the WAV speaker positions, in the same bit order as WAV's channel mask, so
// that a layout within them has its own mask as its WAV channel mask.
// libsndfile names the front three of WAV LEFT, RIGHT and CENTER.
constexpr int kWavPositions[18] = {
    SF_CHANNEL_MAP_LEFT,
    SF_CHANNEL_MAP_RIGHT,
    SF_CHANNEL_MAP_CENTER,
    SF_CHANNEL_MAP_LFE,
    SF_CHANNEL_MAP_REAR_LEFT,
    SF_CHANNEL_MAP_REAR_RIGHT,
    SF_CHANNEL_MAP_FRONT_LEFT_OF_CENTER,
    SF_CHANNEL_MAP_FRONT_RIGHT_OF_CENTER,
    SF_CHANNEL_MAP_REAR_CENTER,
    SF_CHANNEL_MAP_SIDE_LEFT,
    SF_CHANNEL_MAP_SIDE_RIGHT,
    SF_CHANNEL_MAP_TOP_CENTER,
    SF_CHANNEL_MAP_TOP_FRONT_LEFT,
    SF_CHANNEL_MAP_TOP_FRONT_CENTER,
    SF_CHANNEL_MAP_TOP_FRONT_RIGHT,
    SF_CHANNEL_MAP_TOP_REAR_LEFT,
    SF_CHANNEL_MAP_TOP_REAR_CENTER,
    SF_CHANNEL_MAP_TOP_REAR_RIGHT,
};

} // namespace

const std::vector<NamedLayout>& namedLayouts() {
    static const std::vector<NamedLayout> kLayouts = [] {
        std::vector<NamedLayout> layouts;
        for (const Plx::ArrangementInfo& info : Plx::kArrangements)
            layouts.push_back({info.mask, info.shortName});
        return layouts;
    }();
    return kLayouts;
}

std::optional<SpeakerArrangement> parseLayout(const std::string& text) {
    const std::string key = lower(text);
    for (const NamedLayout& layout : namedLayouts())
        if (lower(layout.name) == key) return layout.mask;
    static const std::pair<const char*, SpeakerArrangement> kAliases[] = {
        {"7.1", Plx::Layout::k7_1Music}, {"7.0", Plx::Layout::k7_0Music}, {"quad", Plx::Layout::kQuadro},
        {"foa", Plx::Layout::kAmbi1},    {"1oa", Plx::Layout::kAmbi1},    {"2oa", Plx::Layout::kAmbi2},
        {"3oa", Plx::Layout::kAmbi3},
    };
    for (const auto& [alias, mask] : kAliases)
        if (key == alias) return mask;
    if (key.size() > 2 && key[0] == '0' && key[1] == 'x' && key.size() <= 18) {
        SpeakerArrangement mask = 0;
        for (size_t i = 2; i < key.size(); ++i) {
            const char c = key[i];
            int digit = 0;
            if (c >= '0' && c <= '9')
                digit = c - '0';
            else if (c >= 'a' && c <= 'f')
                digit = c - 'a' + 10;
            else
                return std::nullopt;
            mask = mask << 4 | static_cast<SpeakerArrangement>(digit);
        }
        if (mask != 0) return mask;
    }
    return std::nullopt;
}

std::string layoutNames(const std::vector<SpeakerArrangement>& masks) {
    std::string joined;
    for (SpeakerArrangement mask : masks) joined += (joined.empty() ? "" : ", ") + layoutName(mask);
    return joined;
}

std::string hexMask(SpeakerArrangement mask) {
    char text[24];
    std::snprintf(text, sizeof text, "0x%llX", static_cast<unsigned long long>(mask));
    return text;
}

std::string layoutName(SpeakerArrangement mask) {
    for (const NamedLayout& layout : namedLayouts())
        if (layout.mask == mask) return layout.name;
    return hexMask(mask);
}

std::vector<std::string> speakerLabels(SpeakerArrangement mask) {
    std::vector<std::string> labels;
    for (int bit = 0; bit < 64; ++bit)
        if (mask >> bit & 1) labels.push_back(bitLabel(bit));
    return labels;
}

std::optional<SpeakerArrangement> defaultLayoutForChannels(int channels) {
    using namespace Plx::Layout;
    switch (channels) {
    case 1: return kMono;
    case 2: return kStereo;
    case 3: return kLRC;
    case 4: return kQuadro;
    case 5: return k5_0;
    case 6: return k5_1;
    case 8: return k7_1Music;
    case 10: return k5_1_4;
    case 12: return k7_1_4;
    case 16: return k9_1_6;
    case 24: return k22_2;
    default: return std::nullopt;
    }
}

bool isAmbisonic(SpeakerArrangement mask) {
    using namespace Plx::Layout;
    return mask == kAmbi1 || mask == kAmbi2 || mask == kAmbi3;
}

std::optional<uint32_t> wavChannelMask(SpeakerArrangement mask) {
    constexpr uint32_t kWavFrontCenter = 0x4;
    if (mask == Plx::Layout::kMono) return kWavFrontCenter;
    if (mask == 0 || mask >> std::size(kWavPositions) != 0) return std::nullopt;
    return static_cast<uint32_t>(mask);
}

std::optional<SpeakerArrangement> layoutFromWavChannelMap(const std::vector<int>& map) {
    auto front = [](int position) {
        switch (position) {
        case SF_CHANNEL_MAP_FRONT_LEFT: return int{SF_CHANNEL_MAP_LEFT};
        case SF_CHANNEL_MAP_FRONT_RIGHT: return int{SF_CHANNEL_MAP_RIGHT};
        case SF_CHANNEL_MAP_FRONT_CENTER: return int{SF_CHANNEL_MAP_CENTER};
        default: return position;
        }
    };
    if (map.size() == 1 && (map[0] == SF_CHANNEL_MAP_MONO || front(map[0]) == SF_CHANNEL_MAP_CENTER))
        return Plx::Layout::kMono;
    // Channels on a bus follow ascending bits, so the positions must too.
    SpeakerArrangement mask = 0;
    long last = -1;
    for (int listed : map) {
        const int position = front(listed);
        const int* found = std::find(std::begin(kWavPositions), std::end(kWavPositions), position);
        if (found == std::end(kWavPositions) || found - kWavPositions <= last) return std::nullopt;
        last = found - kWavPositions;
        mask |= SpeakerArrangement{1} << last;
    }
    if (mask == 0) return std::nullopt;
    return mask;
}

} // namespace Tannhofen::Host::Cli
