#include "host/plx/layout.h"

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <sndfile.h>

namespace Tannhofen::Host::Cli {

namespace {

std::string lower(std::string s)
{
    std::transform(s.begin(), s.end(), s.begin(), [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return s;
}

// Label of each speaker bit. Bits 20 to 23 and 38 to 49 are ambisonic
// channels, labelled by their channel number.
std::string bitLabel(int bit)
{
    static const char* const kLabels[38] = {
        "L",   "R",   "C",   "LFE", "Ls",  "Rs",  "Lc",  "Rc",  "Cs",  "Sl",  "Sr",  "Tc",  "Tfl",
        "Tfc", "Tfr", "Trl", "Trc", "Trr", "LFE2", "M",  "",    "",    "",    "",    "Tsl", "Tsr",
        "Lcs", "Rcs", "Bfl", "Bfc", "Bfr", "Pl",  "Pr",  "Bsl", "Bsr", "Brl", "Brc", "Brr"};
    if (bit >= 20 && bit <= 23)
        return "ACN" + std::to_string(bit - 20);
    if (bit >= 38 && bit <= 49)
        return "ACN" + std::to_string(bit - 38 + 4);
    if (bit >= 0 && bit < 38)
        return kLabels[bit];
    return "bit" + std::to_string(bit);
}

// The libsndfile position of each of the first 18 speaker bits: these are
// the WAV speaker positions, and in the same bit order as WAV's channel mask.
// libsndfile names the front three of WAV LEFT, RIGHT and CENTER.
constexpr int kWavPositions[18] = {
    SF_CHANNEL_MAP_LEFT,                 SF_CHANNEL_MAP_RIGHT,                 SF_CHANNEL_MAP_CENTER,
    SF_CHANNEL_MAP_LFE,                  SF_CHANNEL_MAP_REAR_LEFT,             SF_CHANNEL_MAP_REAR_RIGHT,
    SF_CHANNEL_MAP_FRONT_LEFT_OF_CENTER, SF_CHANNEL_MAP_FRONT_RIGHT_OF_CENTER, SF_CHANNEL_MAP_REAR_CENTER,
    SF_CHANNEL_MAP_SIDE_LEFT,            SF_CHANNEL_MAP_SIDE_RIGHT,            SF_CHANNEL_MAP_TOP_CENTER,
    SF_CHANNEL_MAP_TOP_FRONT_LEFT,       SF_CHANNEL_MAP_TOP_FRONT_CENTER,      SF_CHANNEL_MAP_TOP_FRONT_RIGHT,
    SF_CHANNEL_MAP_TOP_REAR_LEFT,        SF_CHANNEL_MAP_TOP_REAR_CENTER,       SF_CHANNEL_MAP_TOP_REAR_RIGHT,
};

} // namespace

const std::vector<NamedLayout>& namedLayouts()
{
    static const std::vector<NamedLayout> kLayouts = {
        {0x3, "Stereo"},
        {0x7, "LRC"},
        {0xC, "Stereo (C LFE)"},
        {0xF, "LRC+LFE"},
        {0x30, "Stereo (Ls Rs)"},
        {0x33, "Quadro"},
        {0x37, "5.0"},
        {0x3B, "Quadro+LFE"},
        {0x3F, "5.1"},
        {0xC0, "Stereo (Lc Rc)"},
        {0xC7, "Cine Front"},
        {0xF7, "7.0 Cine (SDDS)"},
        {0xFF, "7.1 Cine (SDDS)"},
        {0x103, "LRS"},
        {0x107, "LRCS"},
        {0x10B, "LRS+LFE"},
        {0x10F, "LRCS+LFE"},
        {0x137, "6.0 Cine"},
        {0x13F, "6.1 Cine"},
        {0x1F7, "8.0 Cine"},
        {0x1FF, "8.1 Cine"},
        {0x600, "Stereo (Sl Sr)"},
        {0x633, "6.0 Music"},
        {0x637, "7.0 Music (Dolby)"},
        {0x63B, "6.1 Music"},
        {0x63F, "7.1 Music (Dolby)"},
        {0x6F7, "9.0 Cine"},
        {0x6FF, "9.1 Cine"},
        {0x737, "8.0 Music"},
        {0x73F, "8.1 Music"},
        {0x7F7, "10.0 Cine"},
        {0x7FF, "10.1 Cine"},
        {0x93F, "7.1 Cine Top Center"},
        {0x213F, "7.1 Cine Center High"},
        {0x5000, "Stereo (Tfl Tfr)"},
        {0x503F, "7.1 Cine Front High"},
        {0x28000, "Stereo (Trl Trr)"},
        {0x2D033, "8.0 Cube"},
        {0x2D037, "5.0.4"},
        {0x2D03F, "5.1.4"},
        {0x2D637, "7.0.4"},
        {0x2D63F, "7.1.4"},
        {0x2D6F7, "9.0.4"},
        {0x2D6FF, "9.1.4"},
        {0x2D837, "10.0 Auro-3D"},
        {0x2D83F, "10.1 Auro-3D"},
        {0x2F837, "11.0 Auro-3D"},
        {0x2F83F, "11.1 Auro-3D"},
        {0x2FE37, "13.0 Auro-3D"},
        {0x2FE3F, "13.1 Auro-3D"},
        {0x6F03F, "10.2 Experimental"},
        {0x6F0FF, "12.2"},
        {0x80000, "Mono"},
        {0xF00000, "1st Order Ambisonics"},
        {0x3000000, "Stereo (Tsl Tsr)"},
        {0x300003F, "7.1 Cine Side High"},
        {0x3000637, "7.0.2"},
        {0x300063F, "7.1.2"},
        {0x302D637, "7.0.6"},
        {0x302D63F, "7.1.6"},
        {0x302D6F7, "9.0.6"},
        {0x302D6FF, "9.1.6"},
        {0xC00003F, "7.1 Cine Full Rear"},
        {0x2000703B, "8.1 MPEG"},
        {0x50000000, "Stereo (Bfl Bfr)"},
        {0x7307FFFF, "22.2"},
        {0x18000003F, "7.1 Proximity"},
        {0x285002D633, "14.0"},
        {0x7C000F00000, "2nd Order Ambisonics"},
        {0x3FFC000F00000, "3rd Order Ambisonics"},
    };
    return kLayouts;
}

std::optional<SpeakerArrangement> parseLayout(const std::string& text)
{
    const std::string key = lower(text);
    for (const NamedLayout& layout : namedLayouts())
        if (lower(layout.name) == key)
            return layout.mask;
    static const std::pair<const char*, SpeakerArrangement> kAliases[] = {
        {"7.1", 0x63F},    {"7.0", 0x637},           {"quad", 0x33},          {"foa", 0xF00000},
        {"1oa", 0xF00000}, {"2oa", 0x7C000F00000},   {"3oa", 0x3FFC000F00000},
    };
    for (const auto& [alias, mask] : kAliases)
        if (key == alias)
            return mask;
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
        if (mask != 0)
            return mask;
    }
    return std::nullopt;
}

std::string hexMask(SpeakerArrangement mask)
{
    char text[24];
    std::snprintf(text, sizeof text, "0x%llX", static_cast<unsigned long long>(mask));
    return text;
}

std::string layoutName(SpeakerArrangement mask)
{
    for (const NamedLayout& layout : namedLayouts())
        if (layout.mask == mask)
            return layout.name;
    return hexMask(mask);
}

std::vector<std::string> speakerLabels(SpeakerArrangement mask)
{
    std::vector<std::string> labels;
    for (int bit = 0; bit < 64; ++bit)
        if (mask >> bit & 1)
            labels.push_back(bitLabel(bit));
    return labels;
}

std::optional<SpeakerArrangement> defaultLayoutForChannels(int channels)
{
    switch (channels) {
    case 1: return 0x80000;   // Mono
    case 2: return 0x3;       // Stereo
    case 3: return 0x7;       // LRC
    case 4: return 0x33;      // Quadro
    case 5: return 0x37;      // 5.0
    case 6: return 0x3F;      // 5.1
    case 8: return 0x63F;     // 7.1 Music (Dolby)
    case 10: return 0x2D03F;  // 5.1.4
    case 12: return 0x2D63F;  // 7.1.4
    case 16: return 0x302D6FF; // 9.1.6
    case 24: return 0x7307FFFF; // 22.2
    default: return std::nullopt;
    }
}

bool isAmbisonic(SpeakerArrangement mask)
{
    return mask == 0xF00000 || mask == 0x7C000F00000 || mask == 0x3FFC000F00000;
}

std::vector<int> wavChannelMap(SpeakerArrangement mask)
{
    std::vector<int> map;
    if (mask == 0x80000)
        return {SF_CHANNEL_MAP_CENTER};
    if (mask >> 18 != 0)
        return map;
    for (int bit = 0; bit < 18; ++bit)
        if (mask >> bit & 1)
            map.push_back(kWavPositions[bit]);
    return map;
}

std::optional<SpeakerArrangement> layoutFromWavChannelMap(const std::vector<int>& map)
{
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
        if (found == std::end(kWavPositions) || found - kWavPositions <= last)
            return std::nullopt;
        last = found - kWavPositions;
        mask |= SpeakerArrangement{1} << last;
    }
    if (mask == 0)
        return std::nullopt;
    return mask;
}

} // namespace Tannhofen::Host::Cli
