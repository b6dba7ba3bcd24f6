#include "lv2/bridge.h"

#include <lv2/atom/atom.h>
#include <lv2/buf-size/buf-size.h>
#include <lv2/options/options.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <limits>
#include <sys/stat.h>

#include "frame/iaudioprocessor.h"
#include "frame/icomponent.h"
#include "host/lib/memory_stream.h"

namespace Tannhofen::Lv2 {

using namespace Plx;

namespace {

const void* feature(const LV2_Feature* const* features, const char* uri) {
    for (int i = 0; features && features[i]; ++i)
        if (features[i]->URI && std::strcmp(features[i]->URI, uri) == 0) return features[i]->data;
    return nullptr;
}

// The host's largest block, when its options tell it.
int32_t hostMaxBlock(const LV2_Feature* const* features, LV2_URID_Map* map) {
    const auto* options = static_cast<const LV2_Options_Option*>(feature(features, LV2_OPTIONS__options));
    if (!options || !map) return 0;
    const LV2_URID maxLength = map->map(map->handle, LV2_BUF_SIZE__maxBlockLength);
    const LV2_URID intType = map->map(map->handle, LV2_ATOM__Int);
    for (const LV2_Options_Option* o = options; o->key || o->value; ++o)
        if (o->key == maxLength && o->type == intType && o->size == sizeof(int32_t) && o->value)
            return *static_cast<const int32_t*>(o->value);
    return 0;
}

std::string withSlash(std::string path) {
    if (!path.empty() && path.back() != '/') path += '/';
    return path;
}

} // namespace

std::unique_ptr<Bridge> Bridge::create(const Configuration& configuration, double sampleRate,
                                       const std::string& bundlePath, const LV2_Feature* const* features,
                                       std::string* error) {
    auto fail = [&](const std::string& why) {
        if (error) *error = why;
        return std::unique_ptr<Bridge>();
    };
    std::unique_ptr<Bridge> bridge(new Bridge);
    bridge->config = configuration;
    bridge->uri = pluginUri(configuration);
    const std::string modulePath = withSlash(bundlePath) + kModuleFileName;
    if (!std::isfinite(sampleRate) || sampleRate <= 0.0)
        return fail("a sample rate of " + std::to_string(sampleRate) + " Hz can't be processed");

    struct stat info {};
    if (stat(modulePath.c_str(), &info) != 0) return fail("the module file " + modulePath + " is missing");
    std::string why;
    bridge->module = Host::Module::load(modulePath, &why);
    if (!bridge->module) return fail("cannot load the module " + modulePath + ": " + why);
    if (!bridge->module->factory()) return fail("the module " + modulePath + " offers no class factory");

    bridge->host = IPtr<Host::HostApplication>::adopt(Host::HostApplication::create());
    bridge->plugin = Host::Plugin::create(bridge->module->factory(), configuration.processorClass,
                                          bridge->host.get(), &why);
    if (!bridge->plugin) return fail("the module can't create the effect (" + why + ")");

    IAudioProcessor* processor = bridge->plugin->processor();
    if (!bridge->keepArrangements())
        return fail("the effect does not take the buses " + arrangementName(configuration.input) + " to " +
                    arrangementName(configuration.output));
    bridge->layout = describePorts(configuration.input, configuration.output, bridge->plugin->controller());

    bridge->map = static_cast<LV2_URID_Map*>(const_cast<void*>(feature(features, LV2_URID__map)));
    if (const int32_t hostMax = hostMaxBlock(features, bridge->map); hostMax > 0)
        bridge->maxBlock = std::min(hostMax, kMaxBlock);
    bridge->sampleRate = sampleRate;
    PlxProcessSetup setup{kRealtime, kSample32, bridge->maxBlock, sampleRate};
    if (processor->setupProcessing(&setup) != kResultOk)
        return fail("the effect refuses a sample rate of " + std::to_string(sampleRate) + " Hz");
    if (bridge->map) {
        bridge->chunkType = bridge->map->map(bridge->map->handle, LV2_ATOM__Chunk);
        const std::string keyBase = std::string(kUriBase) + "state#";
        bridge->processorKey = bridge->map->map(bridge->map->handle, (keyBase + "processor").c_str());
        bridge->controllerKey = bridge->map->map(bridge->map->handle, (keyBase + "controller").c_str());
    }

    const size_t ins = bridge->layout.inputs.size();
    const size_t outs = bridge->layout.outputs.size();
    const size_t controls = bridge->layout.controls.size();
    bridge->inputPorts.assign(ins, nullptr);
    bridge->outputPorts.assign(outs, nullptr);
    bridge->controlPorts.assign(controls, nullptr);
    bridge->lastControl.assign(controls, std::numeric_limits<float>::quiet_NaN());
    bridge->inputCopies.assign(ins, std::vector<float>(static_cast<size_t>(bridge->maxBlock), 0.0f));
    bridge->inputPointers.assign(ins, nullptr);
    bridge->outputPointers.assign(outs, nullptr);

    // One queue per control with room for one point, so that run() never grows them.
    bridge->changes = IPtr<Host::ParameterChanges>::adopt(Host::ParameterChanges::create());
    for (const ControlPort& port : bridge->layout.controls) bridge->changes->addChange(port.id, 0, 0.0);
    bridge->changes->clear();
    bridge->latency = processor->getLatencySamples();
    return bridge;
}

Bridge::~Bridge() {
    if (plugin) deactivate();
}

bool Bridge::keepArrangements() {
    IAudioProcessor* processor = plugin->processor();
    auto matches = [&] {
        SpeakerArrangement in = 0, out = 0;
        return processor->getBusArrangement(kInput, 0, &in) == kResultOk &&
               processor->getBusArrangement(kOutput, 0, &out) == kResultOk && in == config.input &&
               out == config.output;
    };
    // An effect may first answer with the buses of a loaded state; a second
    // request, after it has told so, gets the ones asked for.
    for (int attempt = 0; attempt < 2 && !matches(); ++attempt) {
        SpeakerArrangement in = config.input, out = config.output;
        processor->setBusArrangements(&in, 1, &out, 1);
    }
    buses = matches();
    return buses;
}

void Bridge::connectPort(uint32_t port, void* data) {
    const size_t ins = inputPorts.size();
    const size_t outs = outputPorts.size();
    size_t index = port;
    if (index < ins) {
        inputPorts[index] = static_cast<const float*>(data);
        return;
    }
    index -= ins;
    if (index < outs) {
        outputPorts[index] = static_cast<float*>(data);
        return;
    }
    index -= outs;
    if (index < controlPorts.size()) {
        controlPorts[index] = static_cast<const float*>(data);
        return;
    }
    if (port == layout.latencyIndex()) latencyPort = static_cast<float*>(data);
}

void Bridge::activate() {
    if (active) return;
    plugin->component()->setActive(true);
    plugin->processor()->setProcessing(true);
    latency = plugin->processor()->getLatencySamples();
    active = true;
    fresh = true;
}

void Bridge::deactivate() {
    if (!active) return;
    plugin->processor()->setProcessing(false);
    plugin->component()->setActive(false);
    active = false;
}

void Bridge::flushChanges() {
    PlxProcessData data{};
    data.processMode = kRealtime;
    data.symbolicSampleSize = kSample32;
    data.inputParameterChanges = changes.get();
    plugin->processor()->process(&data);
    changes->clear();
}

void Bridge::silence(uint32_t offset, uint32_t frames) {
    for (float* out : outputPorts)
        if (out) std::fill(out + offset, out + offset + frames, 0.0f);
}

bool Bridge::overlapsOutput(const float* in, uint32_t length) const {
    for (const float* out : outputPointers)
        if (in < out + length && out < in + length) return true;
    return false;
}

void Bridge::run(uint32_t frames) {
    if (latencyPort) *latencyPort = static_cast<float>(latency);
    if (!active || !buses) {
        silence(0, frames);
        return;
    }
    // Control ports: a changed value becomes a change at sample 0. NaN is no
    // value and is ignored.
    IPlxEditController* controller = plugin->controller();
    for (size_t i = 0; i < controlPorts.size(); ++i) {
        if (!controlPorts[i]) continue;
        const float value = *controlPorts[i];
        if (std::isnan(value) || value == lastControl[i]) continue;
        lastControl[i] = value;
        const ControlPort& port = layout.controls[i];
        changes->addChange(port.id, 0, portToNormalized(port, value, controller));
    }
    // The first changes after activation are taken at once, as a host does
    // with the settings of a project before playing: no ramp from the defaults.
    if (fresh) {
        flushChanges();
        fresh = false;
    }
    if (frames == 0) {
        if (changes->getParameterCount() > 0) flushChanges();
        return;
    }
    for (const float* in : inputPorts)
        if (!in) return silence(0, frames);
    for (const float* out : outputPorts)
        if (!out) return;

    PlxAudioBuffers inBus{};
    PlxAudioBuffers outBus{};
    inBus.numChannels = static_cast<int32>(inputPointers.size());
    inBus.channelBuffers32 = inputPointers.data();
    outBus.numChannels = static_cast<int32>(outputPointers.size());
    outBus.channelBuffers32 = outputPointers.data();
    PlxProcessData data{};
    data.processMode = kRealtime;
    data.symbolicSampleSize = kSample32;
    data.numInputs = 1;
    data.numOutputs = 1;
    data.inputs = &inBus;
    data.outputs = &outBus;
    for (uint32_t offset = 0; offset < frames;) {
        const uint32_t length = std::min<uint32_t>(frames - offset, static_cast<uint32_t>(maxBlock));
        for (size_t c = 0; c < outputPorts.size(); ++c) outputPointers[c] = outputPorts[c] + offset;
        for (size_t c = 0; c < inputPorts.size(); ++c) {
            const float* in = inputPorts[c] + offset;
            if (overlapsOutput(in, length)) {
                std::copy(in, in + length, inputCopies[c].data());
                inputPointers[c] = inputCopies[c].data();
            } else {
                inputPointers[c] = const_cast<float*>(in); // read, never written
            }
        }
        data.numSamples = static_cast<int32>(length);
        data.inputParameterChanges = changes.get();
        if (plugin->processor()->process(&data) != kResultOk) silence(offset, length);
        changes->clear();
        offset += length;
    }
}

LV2_State_Status Bridge::save(LV2_State_Store_Function store, LV2_State_Handle handle) {
    if (!map) return LV2_STATE_ERR_NO_FEATURE;
    IPtr<Host::MemoryStream> processorState = IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create());
    if (plugin->component()->getState(processorState.get()) != kResultOk) return LV2_STATE_ERR_UNKNOWN;
    const uint32_t flags = LV2_STATE_IS_POD | LV2_STATE_IS_PORTABLE;
    const std::vector<uint8_t>& bytes = processorState->bytes();
    LV2_State_Status status = store(handle, processorKey, bytes.data(), bytes.size(), chunkType, flags);
    if (status != LV2_STATE_SUCCESS) return status;
    // The controller's own state, for effects whose controller keeps one.
    IPtr<Host::MemoryStream> controllerState = IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create());
    if (plugin->controller()->getState(controllerState.get()) == kResultOk &&
        !controllerState->bytes().empty()) {
        const std::vector<uint8_t>& more = controllerState->bytes();
        status = store(handle, controllerKey, more.data(), more.size(), chunkType, flags);
    }
    return status;
}

LV2_State_Status Bridge::restore(LV2_State_Retrieve_Function retrieve, LV2_State_Handle handle) {
    if (!map) return LV2_STATE_ERR_NO_FEATURE;
    size_t size = 0;
    uint32_t type = 0;
    uint32_t flags = 0;
    const void* data = retrieve(handle, processorKey, &size, &type, &flags);
    if (!data) return LV2_STATE_ERR_NO_PROPERTY;
    if (type != chunkType) return LV2_STATE_ERR_BAD_TYPE;
    const auto* bytes = static_cast<const uint8_t*>(data);
    IPtr<Host::MemoryStream> processorState = IPtr<Host::MemoryStream>::adopt(
        Host::MemoryStream::create(std::vector<uint8_t>(bytes, bytes + size)));

    // As a host loading a project into a running effect: stopped, state,
    // buses checked, started again.
    const bool wasActive = active;
    deactivate();
    LV2_State_Status status = LV2_STATE_SUCCESS;
    if (plugin->component()->setState(processorState.get()) != kResultOk) {
        status = LV2_STATE_ERR_UNKNOWN;
    } else {
        processorState->rewind();
        plugin->controller()->setComponentState(processorState.get());
        size_t moreSize = 0;
        if (const void* more = retrieve(handle, controllerKey, &moreSize, &type, &flags);
            more && type == chunkType) {
            const auto* moreBytes = static_cast<const uint8_t*>(more);
            IPtr<Host::MemoryStream> controllerState = IPtr<Host::MemoryStream>::adopt(
                Host::MemoryStream::create(std::vector<uint8_t>(moreBytes, moreBytes + moreSize)));
            plugin->controller()->setState(controllerState.get());
        }
        if (!keepArrangements()) {
            std::fprintf(stderr,
                         "Tannhofen.lv2: %s: the restored state leaves the effect without its buses\n",
                         uri.c_str());
            status = LV2_STATE_ERR_UNKNOWN;
        } else {
            PlxProcessSetup setup{kRealtime, kSample32, maxBlock, sampleRate};
            plugin->processor()->setupProcessing(&setup);
        }
    }
    // The restored settings hold until a control port moves: a port counts
    // as seen with the value it has now, or, while unconnected, with the
    // restored one.
    IPlxEditController* controller = plugin->controller();
    for (size_t i = 0; i < controlPorts.size(); ++i) {
        const ControlPort& port = layout.controls[i];
        const float restored =
            static_cast<float>(normalizedToPort(port, controller->getParamNormalized(port.id), controller));
        lastControl[i] = controlPorts[i] && !std::isnan(*controlPorts[i]) ? *controlPorts[i] : restored;
    }
    if (wasActive) activate();
    return status;
}

} // namespace Tannhofen::Lv2
