// A small LV2 host for the bridge's tests: it loads the built bundle's
// library with dlopen, as a host does, offers urid:map and the block-length
// option, and keeps one buffer per port.
#pragma once

#include <lv2/core/lv2.h>
#include <lv2/options/options.h>
#include <lv2/state/state.h>
#include <lv2/urid/urid.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "frame/funknown.h"

namespace Lv2Test {

// The bundle that the build made, and its library.
std::string bundleDir();
std::string bridgePath();

// Whether the built module can create the processor of class `cid`.
bool moduleCreates(const Tannhofen::Plx::FUID& cid);

class UridMap {
public:
    UridMap();
    LV2_URID map(const char* uri);
    const LV2_Feature* feature() const { return &mapFeature; }

private:
    static LV2_URID mapThunk(LV2_URID_Map_Handle handle, const char* uri);
    std::map<std::string, LV2_URID> ids;
    LV2_URID_Map lv2Map{};
    LV2_Feature mapFeature{};
};

// The map that every instance of a test shares, as instances of one host do.
UridMap& sharedMap();

// The library of a bundle, loaded with dlopen.
class Library {
public:
    explicit Library(const std::string& path = bridgePath());
    ~Library();
    // The descriptor of `uri`, or null.
    const LV2_Descriptor* find(const std::string& uri) const;
    std::vector<std::string> uris() const;

private:
    void* handle = nullptr;
    const LV2_Descriptor* (*descriptorFunc)(uint32_t) = nullptr;
};

// Saved state as a host keeps it: key to type and bytes.
struct SavedState {
    std::map<LV2_URID, std::pair<LV2_URID, std::vector<uint8_t>>> properties;
};

class Instance {
public:
    // Null handle() when instantiate failed. `maxBlock` 0 offers no option.
    Instance(const Library& library, const std::string& uri, double rate,
             const std::string& bundle = bundleDir(), int32_t maxBlock = 0, bool withMap = true);
    ~Instance();

    LV2_Handle handle() const { return instance; }
    // The port layout this test expects: inputs, outputs, controls, latency.
    void setPorts(int inputs, int outputs, int controls);

    float* input(int channel) { return audio[static_cast<size_t>(channel)].data(); }
    float* output(int channel) { return audio[static_cast<size_t>(bufferOf(ins + channel))].data(); }
    // Hands output `channel` the buffer of input `input`, as hosts that
    // process in place do.
    void shareBuffer(int channel, int input) { shared[ins + channel] = input; }
    float& control(int index) { return controls[static_cast<size_t>(index)]; }
    float latency() const { return latencyValue; }

    void activate();
    void deactivate();
    // Runs `frames` from `offset` of the buffers set with reserve().
    void run(uint32_t frames, uint32_t offset = 0);
    void reserve(size_t frames);

    bool save(SavedState* state);
    LV2_State_Status restore(const SavedState& state);

private:
    const LV2_Descriptor* descriptor = nullptr;
    LV2_Handle instance = nullptr;
    int ins = 0;
    int outs = 0;
    int bufferOf(int port) const {
        const auto it = shared.find(port);
        return it == shared.end() ? port : it->second;
    }
    std::vector<std::vector<float>> audio;
    std::map<int, int> shared; // output port -> input port whose buffer it uses
    std::vector<float> controls;
    float latencyValue = -1.0f;
    int32_t blockOption = 0;
    std::vector<LV2_Options_Option> options;
    LV2_Feature optionsFeature{};
    bool active = false;
};

} // namespace Lv2Test
