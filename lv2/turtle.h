// The bundle's Turtle: manifest.ttl, which names every plug-in and the
// bridge library, and the data file with each plug-in's ports, features and
// extensions. The generator fills these descriptions from the built module.
#pragma once

#include <string>
#include <vector>

#include "lv2/port_layout.h"

namespace Tannhofen::Lv2 {

struct PluginDescription {
    std::string uri;
    std::string name;    // "MixMorph V6: 5.1 to Stereo"
    std::string comment; // the buses with their speakers
    bool spatial;        // listed as a spatial plug-in
    PortLayout ports;
};

struct VendorDescription {
    std::string name;
    std::string homepage;
    std::string email;
};

std::string manifestTurtle(const std::vector<PluginDescription>& plugins, const std::string& binary,
                           const std::string& dataFile);
std::string pluginsTurtle(const std::vector<PluginDescription>& plugins, const VendorDescription& vendor);

// A number as Turtle writes it ("-180.0", "0.5", "1e-07"), exact enough to
// give back the same float.
std::string turtleNumber(double value);
// A string literal with its quotes, escaped.
std::string turtleString(const std::string& text);
// The units:unit object of a unit text: one of LV2's units where it is one
// ("dB" -> "units:db"), else a unit of its own with that symbol; empty for none.
std::string turtleUnit(const std::string& units);

} // namespace Tannhofen::Lv2
