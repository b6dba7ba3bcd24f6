#include "lv2/configurations.h"

#include <cctype>
#include <cstdio>

#include "frame/class_ids.h"
#include "frame/speaker_arrangement_names.h"

namespace Tannhofen::Lv2 {

namespace {

using namespace Plx::Layout;

// One row per plug-in. A row of an effect that the module can't create yet
// stays out of the bundle's description until it can.
constexpr Configuration kConfigurations[] = {
    {Plx::kMatrixMixerProcessorUID, "mixmorph", k5_1, kStereo},
    {Plx::kMatrixMixerProcessorUID, "mixmorph", k7_1Music, k5_1},
    {Plx::kMatrixMixerProcessorUID, "mixmorph", k7_1Music, kStereo},
    {Plx::kMatrixMixerProcessorUID, "mixmorph", k7_1_4, k5_1},
    {Plx::kMatrixMixerProcessorUID, "mixmorph", k7_1_4, kStereo},
    {Plx::kMatrixMixerProcessorUID, "mixmorph", k22_2, k7_1_4},
    {Plx::kMatrixMixerProcessorUID, "mixmorph", kStereo, k5_1},
    {Plx::kRadialPannerProcessorUID, "radialpanner", kMono, k5_1},
    {Plx::kRadialPannerProcessorUID, "radialpanner", kStereo, k5_1},
    {Plx::kRadialPannerProcessorUID, "radialpanner", kMono, k7_1_4},
    {Plx::kRadialPannerProcessorUID, "radialpanner", kStereo, k7_1_4},
    {Plx::kAmbiBinProcessorUID, "spheredecoder", kAmbi1, kStereo},
    {Plx::kAmbiBinProcessorUID, "spheredecoder", kAmbi2, kStereo},
    {Plx::kAmbiBinProcessorUID, "spheredecoder", kAmbi3, kStereo},
    {Plx::kAmbiBinProcessorUID, "spheredecoder", kAmbi1, k7_1_4},
    {Plx::kAmbiBinProcessorUID, "spheredecoder", kAmbi2, k7_1_4},
    {Plx::kAmbiBinProcessorUID, "spheredecoder", kAmbi3, k7_1_4},
};

// "7.1 Music (Dolby)" -> "7.1-music-dolby": letters, digits and dots kept,
// every other run of characters one dash.
std::string slug(const std::string& name) {
    std::string out;
    for (unsigned char c : name) {
        if (std::isalnum(c) || c == '.')
            out += static_cast<char>(std::tolower(c));
        else if (!out.empty() && out.back() != '-')
            out += '-';
    }
    while (!out.empty() && out.back() == '-') out.pop_back();
    return out;
}

} // namespace

std::span<const Configuration> configurations() {
    return kConfigurations;
}

std::string arrangementName(Plx::SpeakerArrangement arrangement) {
    for (const Plx::ArrangementInfo& info : Plx::kArrangements)
        if (info.mask == arrangement) return info.shortName;
    char text[24];
    std::snprintf(text, sizeof text, "0x%llX", static_cast<unsigned long long>(arrangement));
    return text;
}

std::string pluginUri(const Configuration& configuration) {
    return std::string(kUriBase) + configuration.effectSlug + "/" +
           slug(arrangementName(configuration.input)) + "-to-" + slug(arrangementName(configuration.output));
}

} // namespace Tannhofen::Lv2
