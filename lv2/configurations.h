// The LV2 plug-ins of the bundle. LV2 fixes a plug-in's ports, so every pair
// of bus arrangements that users need becomes a plug-in of its own: one row
// of the table in configurations.cpp each. The bridge offers every row; the
// Turtle generator describes only the rows whose effect the module can create.
#pragma once

#include <span>
#include <string>

#include "frame/funknown.h"
#include "frame/speaker_layouts.h"

namespace Tannhofen::Lv2 {

struct Configuration {
    Plx::FUID processorClass;
    const char* effectSlug; // the effect's part of the plug-in URI, e.g. "mixmorph"
    Plx::SpeakerArrangement input;
    Plx::SpeakerArrangement output;
};

// Every configuration, in the order that lv2_descriptor() lists them.
std::span<const Configuration> configurations();

// The URIs of the bundle: every plug-in's and the state keys live below this.
inline constexpr const char* kUriBase = "https://www.tannhofen.de/lv2/";

// The name of an arrangement as users know it ("5.1", "7.1.4"), or its hex mask.
std::string arrangementName(Plx::SpeakerArrangement arrangement);
// The plug-in's URI, e.g. "https://www.tannhofen.de/lv2/mixmorph/5.1-to-stereo".
std::string pluginUri(const Configuration& configuration);

} // namespace Tannhofen::Lv2
