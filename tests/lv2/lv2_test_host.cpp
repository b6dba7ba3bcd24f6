#include "tests/lv2/lv2_test_host.h"

#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>

#include <dlfcn.h>

#include "frame/iaudioprocessor.h"
#include "host/lib/module.h"
#include <stdexcept>

namespace Lv2Test {

std::string bundleDir() {
    return PLX_LV2_BUNDLE "/";
}

std::string bridgePath() {
    return bundleDir() + "Tannhofen_lv2.so";
}

bool moduleCreates(const Tannhofen::Plx::FUID& cid) {
    using namespace Tannhofen;
    auto module = Host::Module::load(PLX_MODULE_PATH);
    void* obj = nullptr;
    if (!module || !module->factory() ||
        module->factory()->createInstance(cid.toTUID(), Plx::IAudioProcessor::iid, &obj) != Plx::kResultOk)
        return false;
    static_cast<Plx::IAudioProcessor*>(obj)->release();
    return true;
}

UridMap::UridMap() {
    lv2Map.handle = this;
    lv2Map.map = mapThunk;
    mapFeature.URI = LV2_URID__map;
    mapFeature.data = &lv2Map;
}

LV2_URID UridMap::map(const char* uri) {
    auto [it, added] = ids.emplace(uri, static_cast<LV2_URID>(ids.size() + 1));
    return it->second;
}

UridMap& sharedMap() {
    static UridMap map;
    return map;
}

LV2_URID UridMap::mapThunk(LV2_URID_Map_Handle handle, const char* uri) {
    return static_cast<UridMap*>(handle)->map(uri);
}

Library::Library(const std::string& path) {
    handle = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) throw std::runtime_error(std::string("cannot load ") + path + ": " + dlerror());
    descriptorFunc = reinterpret_cast<const LV2_Descriptor* (*)(uint32_t)>(dlsym(handle, "lv2_descriptor"));
    if (!descriptorFunc) throw std::runtime_error(path + " has no lv2_descriptor");
}

Library::~Library() {
    if (handle) dlclose(handle);
}

const LV2_Descriptor* Library::find(const std::string& uri) const {
    for (uint32_t i = 0; const LV2_Descriptor* d = descriptorFunc(i); ++i)
        if (uri == d->URI) return d;
    return nullptr;
}

std::vector<std::string> Library::uris() const {
    std::vector<std::string> result;
    for (uint32_t i = 0; const LV2_Descriptor* d = descriptorFunc(i); ++i) result.push_back(d->URI);
    return result;
}

Instance::Instance(const Library& library, const std::string& uri, double rate, const std::string& bundle,
                   int32_t maxBlock, bool withMap)
    : descriptor(library.find(uri)), blockOption(maxBlock) {
    if (!descriptor) throw std::runtime_error("the bridge has no " + uri);
    std::vector<const LV2_Feature*> features;
    if (withMap) features.push_back(sharedMap().feature());
    if (maxBlock > 0) {
        options.push_back({LV2_OPTIONS_INSTANCE, 0, sharedMap().map(LV2_BUF_SIZE__maxBlockLength),
                           sizeof(int32_t), sharedMap().map(LV2_ATOM__Int), &blockOption});
        options.push_back({LV2_OPTIONS_INSTANCE, 0, 0, 0, 0, nullptr});
        optionsFeature = {LV2_OPTIONS__options, options.data()};
        features.push_back(&optionsFeature);
    }
    features.push_back(nullptr);
    instance = descriptor->instantiate(descriptor, rate, bundle.c_str(), features.data());
}

Instance::~Instance() {
    if (!instance) return;
    if (active) descriptor->deactivate(instance);
    descriptor->cleanup(instance);
}

void Instance::setPorts(int inputs, int outputs, int controlCount) {
    ins = inputs;
    outs = outputs;
    audio.assign(static_cast<size_t>(ins + outs), std::vector<float>(8192, 0.0f));
    controls.assign(static_cast<size_t>(controlCount), 0.0f);
    for (int c = 0; c < controlCount; ++c)
        descriptor->connect_port(instance, static_cast<uint32_t>(ins + outs + c),
                                 &controls[static_cast<size_t>(c)]);
    descriptor->connect_port(instance, static_cast<uint32_t>(ins + outs + controlCount), &latencyValue);
}

void Instance::reserve(size_t frames) {
    for (std::vector<float>& buffer : audio) buffer.resize(frames, 0.0f);
}

void Instance::activate() {
    descriptor->activate(instance);
    active = true;
}

void Instance::deactivate() {
    descriptor->deactivate(instance);
    active = false;
}

void Instance::run(uint32_t frames, uint32_t offset) {
    for (size_t p = 0; p < audio.size(); ++p)
        descriptor->connect_port(instance, static_cast<uint32_t>(p),
                                 audio[static_cast<size_t>(bufferOf(static_cast<int>(p)))].data() + offset);
    descriptor->run(instance, frames);
}

namespace {

LV2_State_Status storeThunk(LV2_State_Handle handle, uint32_t key, const void* value, size_t size,
                            uint32_t type, uint32_t) {
    const auto* bytes = static_cast<const uint8_t*>(value);
    static_cast<SavedState*>(handle)->properties[key] = {type, std::vector<uint8_t>(bytes, bytes + size)};
    return LV2_STATE_SUCCESS;
}

const void* retrieveThunk(LV2_State_Handle handle, uint32_t key, size_t* size, uint32_t* type,
                          uint32_t* flags) {
    const auto& properties = static_cast<const SavedState*>(handle)->properties;
    const auto it = properties.find(key);
    if (it == properties.end()) return nullptr;
    *size = it->second.second.size();
    *type = it->second.first;
    *flags = LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE;
    return it->second.second.data();
}

const LV2_State_Interface* stateOf(const LV2_Descriptor* descriptor) {
    return static_cast<const LV2_State_Interface*>(descriptor->extension_data(LV2_STATE__interface));
}

} // namespace

bool Instance::save(SavedState* state) {
    const LV2_State_Interface* iface = stateOf(descriptor);
    return iface && iface->save(instance, storeThunk, state, LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE,
                                nullptr) == LV2_STATE_SUCCESS;
}

LV2_State_Status Instance::restore(const SavedState& state) {
    const LV2_State_Interface* iface = stateOf(descriptor);
    if (!iface) return LV2_STATE_ERR_UNKNOWN;
    return iface->restore(instance, retrieveThunk, const_cast<SavedState*>(&state), 0, nullptr);
}

} // namespace Lv2Test
