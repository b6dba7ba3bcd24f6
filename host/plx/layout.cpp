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
// the WAV speaker positions, and in the same bit order as WAV's channel mask.
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
        {"7.1", 0x63F},    {"7.0", 0x637},         {"quad", 0x33},           {"foa", 0xF00000},
        {"1oa", 0xF00000}, {"2oa", 0x7C000F00000}, {"3oa", 0x3FFC000F00000},
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
    switch (channels) {
    case 1: return 0x80000;     // Mono
    case 2: return 0x3;         // Stereo
    case 3: return 0x7;         // LRC
    case 4: return 0x33;        // Quadro
    case 5: return 0x37;        // 5.0
    case 6: return 0x3F;        // 5.1
    case 8: return 0x63F;       // 7.1 Music (Dolby)
    case 10: return 0x2D03F;    // 5.1.4
    case 12: return 0x2D63F;    // 7.1.4
    case 16: return 0x302D6FF;  // 9.1.6
    case 24: return 0x7307FFFF; // 22.2
    default: return std::nullopt;
    }
}

bool isAmbisonic(SpeakerArrangement mask) {
    return mask == 0xF00000 || mask == 0x7C000F00000 || mask == 0x3FFC000F00000;
}

std::vector<int> wavChannelMap(SpeakerArrangement mask) {
    std::vector<int> map;
    if (mask == 0x80000) return {SF_CHANNEL_MAP_CENTER};
    if (mask >> 18 != 0) return map;
    for (int bit = 0; bit < 18; ++bit)
        if (mask >> bit & 1) map.push_back(kWavPositions[bit]);
    return map;
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
        return 0x80000;
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
