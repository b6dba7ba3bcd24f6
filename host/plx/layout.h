// Speaker layouts as plx names them on its command line and in its output:
// the arrangement names that users know from the editors, hex masks, speaker
// labels per channel, and the WAV channel masks of layouts that WAV can carry.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "frame/speaker_arrangement.h"
#include "frame/speaker_layouts.h"

namespace Tannhofen::Host::Cli {

using Plx::SpeakerArrangement;

// The named layouts, in ascending mask order.
struct NamedLayout {
    SpeakerArrangement mask;
    const char* name;
};
const std::vector<NamedLayout>& namedLayouts();

// The speaker bits that name a speaker or an ambisonic channel; the others
// mean nothing to the module.
inline constexpr SpeakerArrangement kDefinedSpeakerBits = (Plx::Speaker::Ambi4 << 12) - 1;

// A layout given by name (case does not matter), by a few short aliases
// ("7.1", "FOA", ...) or as a hex mask ("0x3F"). Empty when unknown.
std::optional<SpeakerArrangement> parseLayout(const std::string& text);
// The names of the named layouts, for messages: "Stereo, LRC, ...".
std::string layoutNames(const std::vector<SpeakerArrangement>& masks);
// The name of a layout, or its hex mask when it has none.
std::string layoutName(SpeakerArrangement mask);
std::string hexMask(SpeakerArrangement mask);
// Speaker label of each channel, in bus order (ascending bits).
std::vector<std::string> speakerLabels(SpeakerArrangement mask);
inline int channelsOf(SpeakerArrangement mask) {
    return Plx::channelCount(mask);
}

// The layout that a file of `channels` channels most likely carries, when
// nothing else tells; empty when there is no usual one.
std::optional<SpeakerArrangement> defaultLayoutForChannels(int channels);

// The WAV (WAVE_FORMAT_EXTENSIBLE) channel mask of a layout; empty when WAV
// has no position for one of its speakers.
std::optional<uint32_t> wavChannelMask(SpeakerArrangement mask);
bool isAmbisonic(SpeakerArrangement mask);
// The layout that a libsndfile channel map describes; empty when it holds
// positions that have no speaker bit.
std::optional<SpeakerArrangement> layoutFromWavChannelMap(const std::vector<int>& map);

} // namespace Tannhofen::Host::Cli
