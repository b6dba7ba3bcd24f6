// What the bundle offers, read from the module it carries: every
// configuration whose effect the module lists and can create with the
// configuration's buses, with its ports as the bridge will connect them.
#pragma once

#include <string>
#include <vector>

#include "lv2/turtle.h"

namespace Tannhofen::Lv2 {

struct BundleDescription {
    VendorDescription vendor;
    std::vector<PluginDescription> plugins;
    // One line per configuration left out, with the reason.
    std::vector<std::string> skipped;
};

// Loads `bundleDir`/Tannhofen.plx; false with *error set when it isn't a module.
bool describeBundle(const std::string& bundleDir, BundleDescription* description, std::string* error);

} // namespace Tannhofen::Lv2
