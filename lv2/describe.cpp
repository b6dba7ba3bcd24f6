#include "lv2/describe.h"

#include <cstring>

#include "frame/speaker_arrangement_names.h"
#include "host/lib/module.h"
#include "lv2/bridge.h"
#include "lv2/configurations.h"

namespace Tannhofen::Lv2 {

using namespace Plx;

namespace {

std::string field(const char* text, size_t size) {
    return std::string(text, strnlen(text, size));
}

// "5.1 (L R C LFE Ls Rs)"
std::string busText(SpeakerArrangement arrangement) {
    for (const ArrangementInfo& info : kArrangements)
        if (info.mask == arrangement) return std::string(info.shortName) + " (" + info.longName + ")";
    return arrangementName(arrangement);
}

} // namespace

bool describeBundle(const std::string& bundleDir, BundleDescription* description, std::string* error) {
    const std::string dir = bundleDir.empty() || bundleDir.back() == '/' ? bundleDir : bundleDir + "/";
    std::unique_ptr<Host::Module> module = Host::Module::load(dir + kModuleFileName, error);
    if (!module) return false;
    if (!module->factory()) {
        if (error) *error = "the module offers no class factory";
        return false;
    }
    FactoryInfo vendor{};
    module->factory()->getFactoryInfo(&vendor);
    description->vendor = {field(vendor.vendor, sizeof vendor.vendor), field(vendor.url, sizeof vendor.url),
                           field(vendor.email, sizeof vendor.email)};
    const std::vector<ClassInfo2> classes = module->classes();

    for (const Configuration& configuration : configurations()) {
        const std::string uri = pluginUri(configuration);
        const ClassInfo2* listed = nullptr;
        for (const ClassInfo2& info : classes)
            if (FUID(info.cid) == configuration.processorClass) listed = &info;
        if (!listed) {
            description->skipped.push_back(uri + ": the module doesn't list its effect");
            continue;
        }
        std::string why;
        std::unique_ptr<Bridge> bridge = Bridge::create(configuration, 48000.0, dir, nullptr, &why);
        if (!bridge) {
            description->skipped.push_back(uri + ": " + why);
            continue;
        }
        const std::string className = field(listed->name, sizeof listed->name);
        PluginDescription plugin;
        plugin.uri = uri;
        plugin.name = className + ": " + arrangementName(configuration.input) + " to " +
                      arrangementName(configuration.output);
        plugin.comment = className + " from " + busText(configuration.input) + " to " +
                         busText(configuration.output) + ".";
        plugin.spatial = std::strstr(field(listed->subCategories, sizeof listed->subCategories).c_str(),
                                     "Spatial") != nullptr;
        plugin.ports = bridge->ports();
        description->plugins.push_back(std::move(plugin));
    }
    return true;
}

} // namespace Tannhofen::Lv2
