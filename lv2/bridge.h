// Bridge: one LV2 plug-in instance. It loads the module file of its bundle
// through the module's three exports, creates the effect of its configuration
// with our host library as plx does, fixes the bus arrangements, and maps the
// LV2 calls onto the effect:
//
//   instantiate        -> create, initialize, setBusArrangements, setupProcessing
//   activate/deactivate-> setActive and setProcessing
//   run                -> process, control port changes as parameter changes at
//                         sample 0, normalized through the parameter's conversion
//   latency port       -> getLatencySamples
//   state save/restore -> getState/setState of processor and controller
//
// Threads: run() is the audio thread and allocates nothing, takes no lock;
// everything it uses is sized when the instance is made. The other calls run
// on the host's other threads, as LV2 arranges them.
#pragma once

#include <lv2/core/lv2.h>
#include <lv2/state/state.h>
#include <lv2/urid/urid.h>

#include <memory>
#include <string>
#include <vector>

#include "host/lib/host_application.h"
#include "host/lib/module.h"
#include "host/lib/parameter_changes.h"
#include "host/lib/plugin.h"
#include "lv2/configurations.h"
#include "lv2/port_layout.h"

namespace Tannhofen::Lv2 {

// The module file that a bundle carries beside the bridge.
inline constexpr const char* kModuleFileName = "Tannhofen.plx";
// The largest block handed to the effect at once; longer runs are split.
inline constexpr int32_t kMaxBlock = 8192;

class Bridge {
public:
    // Null with *error set when the module can't be loaded, isn't ours, lacks
    // the effect, or the effect refuses the arrangements, the rate or the block.
    static std::unique_ptr<Bridge> create(const Configuration& configuration, double sampleRate,
                                          const std::string& bundlePath, const LV2_Feature* const* features,
                                          std::string* error);
    ~Bridge();
    Bridge(const Bridge&) = delete;
    Bridge& operator=(const Bridge&) = delete;

    const PortLayout& ports() const { return layout; }

    void connectPort(uint32_t port, void* data);
    void activate();
    void deactivate();
    void run(uint32_t frames);

    LV2_State_Status save(LV2_State_Store_Function store, LV2_State_Handle handle);
    LV2_State_Status restore(LV2_State_Retrieve_Function retrieve, LV2_State_Handle handle);

private:
    Bridge() = default;
    // Makes sure the effect has the configuration's buses, as after a state
    // that asks for others; false when it won't take them back.
    bool keepArrangements();
    // Hands the block's parameter changes over in a block without audio.
    void flushChanges();
    void silence(uint32_t offset, uint32_t frames);
    // Whether `length` samples from `in` share memory with an output of this block.
    bool overlapsOutput(const float* in, uint32_t length) const;

    Configuration config{};
    std::string uri;
    std::unique_ptr<Host::Module> module;
    Plx::IPtr<Host::HostApplication> host;
    std::unique_ptr<Host::Plugin> plugin;
    PortLayout layout;
    Plx::IPtr<Host::ParameterChanges> changes;
    double sampleRate = 0.0;
    int32_t maxBlock = kMaxBlock;

    LV2_URID_Map* map = nullptr;
    LV2_URID chunkType = 0;
    LV2_URID processorKey = 0;
    LV2_URID controllerKey = 0;

    // Host buffers, by port.
    std::vector<const float*> inputPorts;
    std::vector<float*> outputPorts;
    std::vector<const float*> controlPorts;
    float* latencyPort = nullptr;
    // The last value seen on each control port; NaN until one is seen.
    std::vector<float> lastControl;
    // Inputs that share memory with an output are copied before processing,
    // so that a host may hand the same buffer as an input and an output.
    std::vector<std::vector<float>> inputCopies;
    std::vector<float*> inputPointers;
    std::vector<float*> outputPointers;

    bool active = false;
    bool buses = true;  // the effect has the configuration's buses
    bool fresh = false; // no block since activation: changes are taken at once
    uint32_t latency = 0;
};

} // namespace Tannhofen::Lv2
