// The bridge library's one export, lv2_descriptor: one descriptor per
// configuration, each mapping the LV2 calls onto a Bridge. Nothing throws
// across this boundary; a failed instantiate says why on stderr.
#include <lv2/core/lv2.h>
#include <lv2/state/state.h>

#include <cstdio>
#include <cstring>
#include <exception>
#include <string>
#include <vector>

#include "lv2/bridge.h"
#include "lv2/configurations.h"

namespace {

using Tannhofen::Lv2::Bridge;
using Tannhofen::Lv2::Configuration;

Bridge* bridgeOf(LV2_Handle instance) {
    return static_cast<Bridge*>(instance);
}

struct Descriptors {
    std::vector<std::string> uris;
    std::vector<LV2_Descriptor> list;
};
const Descriptors& descriptors();

const Configuration* configurationOf(const LV2_Descriptor* descriptor) {
    const Descriptors& all = descriptors();
    if (!descriptor || all.list.empty() || descriptor < all.list.data() ||
        descriptor >= all.list.data() + all.list.size())
        return nullptr;
    return &Tannhofen::Lv2::configurations()[static_cast<size_t>(descriptor - all.list.data())];
}

LV2_Handle instantiate(const LV2_Descriptor* descriptor, double rate, const char* bundlePath,
                       const LV2_Feature* const* features) {
    const char* uri = descriptor && descriptor->URI ? descriptor->URI : "(no plug-in)";
    std::string error;
    try {
        const Configuration* configuration = configurationOf(descriptor);
        if (!configuration) {
            error = "unknown plug-in";
        } else {
            std::unique_ptr<Bridge> bridge =
                Bridge::create(*configuration, rate, bundlePath ? bundlePath : "", features, &error);
            if (bridge) return bridge.release();
        }
    } catch (const std::exception& e) {
        error = e.what();
    } catch (...) {
        error = "unexpected failure";
    }
    std::fprintf(stderr, "Tannhofen.lv2: %s: %s\n", uri, error.c_str());
    return nullptr;
}

void connectPort(LV2_Handle instance, uint32_t port, void* data) {
    bridgeOf(instance)->connectPort(port, data);
}

void activate(LV2_Handle instance) {
    bridgeOf(instance)->activate();
}

void run(LV2_Handle instance, uint32_t frames) {
    bridgeOf(instance)->run(frames);
}

void deactivate(LV2_Handle instance) {
    bridgeOf(instance)->deactivate();
}

void cleanup(LV2_Handle instance) {
    delete bridgeOf(instance);
}

LV2_State_Status save(LV2_Handle instance, LV2_State_Store_Function store, LV2_State_Handle handle, uint32_t,
                      const LV2_Feature* const*) {
    try {
        return bridgeOf(instance)->save(store, handle);
    } catch (...) {
        return LV2_STATE_ERR_UNKNOWN;
    }
}

LV2_State_Status restore(LV2_Handle instance, LV2_State_Retrieve_Function retrieve, LV2_State_Handle handle,
                         uint32_t, const LV2_Feature* const*) {
    try {
        return bridgeOf(instance)->restore(retrieve, handle);
    } catch (...) {
        return LV2_STATE_ERR_UNKNOWN;
    }
}

const void* extensionData(const char* uri) {
    static const LV2_State_Interface kState = {save, restore};
    if (uri && std::strcmp(uri, LV2_STATE__interface) == 0) return &kState;
    return nullptr;
}

const Descriptors& descriptors() {
    static const Descriptors kDescriptors = [] {
        Descriptors d;
        const auto all = Tannhofen::Lv2::configurations();
        d.uris.reserve(all.size());
        for (const Configuration& configuration : all)
            d.uris.push_back(Tannhofen::Lv2::pluginUri(configuration));
        for (const std::string& uri : d.uris)
            d.list.push_back(
                {uri.c_str(), instantiate, connectPort, activate, run, deactivate, cleanup, extensionData});
        return d;
    }();
    return kDescriptors;
}

} // namespace

LV2_SYMBOL_EXPORT const LV2_Descriptor* lv2_descriptor(uint32_t index) {
    try {
        const Descriptors& all = descriptors();
        return index < all.list.size() ? &all.list[index] : nullptr;
    } catch (...) {
        return nullptr;
    }
}
