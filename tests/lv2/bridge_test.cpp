// The bridge as an LV2 host runs it: loaded from the built bundle with
// dlopen, its plug-ins instantiated, run and saved through the LV2 calls
// alone. Its output is held against the module driven directly through our
// host library, the way plx drives it.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <random>

#include "frame/class_ids.h"
#include "frame/iaudioprocessor.h"
#include "frame/icomponent.h"
#include "host/lib/host_application.h"
#include "host/lib/module.h"
#include "host/lib/parameter_changes.h"
#include "host/lib/plugin.h"
#include "lv2/bridge.h"
#include "lv2/configurations.h"
#include "lv2/port_layout.h"
#include "tests/lv2/lv2_test_host.h"
#include "tests/support/random_signal.h"
#include "tests/support/rt_guard.h"

namespace {

using namespace Tannhofen;
using Plx::SpeakerArrangement;
namespace Layout = Plx::Layout;

using Planar = std::vector<std::vector<float>>;

Planar noise(int channels, size_t frames, unsigned seed) {
    Planar signal;
    for (int c = 0; c < channels; ++c) {
        std::vector<float> v = randomVector<float>(frames, seed + static_cast<unsigned>(c));
        for (float& x : v) x *= 0.5f;
        signal.push_back(std::move(v));
    }
    return signal;
}

const Lv2::Configuration& configurationOf(SpeakerArrangement in, SpeakerArrangement out) {
    for (const Lv2::Configuration& c : Lv2::configurations())
        if (c.processorClass == Plx::kMatrixMixerProcessorUID && c.input == in && c.output == out) return c;
    throw std::runtime_error("no such configuration");
}

// The module's effect of `config`, driven directly and started as plx
// starts it: buses, setup, active, and a block without audio that settles it.
struct DirectEffect {
    DirectEffect(const Lv2::Configuration& config, int32_t block, double rate)
        : module(Host::Module::load(PLX_MODULE_PATH)),
          host(Plx::IPtr<Host::HostApplication>::adopt(Host::HostApplication::create())),
          plugin(Host::Plugin::create(module->factory(), config.processorClass, host.get())) {
        SpeakerArrangement in = config.input, out = config.output;
        EXPECT_EQ(processor()->setBusArrangements(&in, 1, &out, 1), Plx::kResultOk);
        Plx::PlxProcessSetup setup{Plx::kRealtime, Plx::kSample32, block, rate};
        processor()->setupProcessing(&setup);
        plugin->component()->setActive(true);
        processor()->setProcessing(true);
        Plx::PlxProcessData settle{};
        processor()->process(&settle);
    }
    ~DirectEffect() {
        processor()->setProcessing(false);
        plugin->component()->setActive(false);
    }
    Plx::IAudioProcessor* processor() const { return plugin->processor(); }

    std::unique_ptr<Host::Module> module;
    Plx::IPtr<Host::HostApplication> host;
    std::unique_ptr<Host::Plugin> plugin;
};

// `input` through the effect driven directly, in blocks of `block`.
Planar renderDirect(const Lv2::Configuration& config, const Planar& input, int32_t block,
                    double rate = 48000) {
    DirectEffect effect(config, block, rate);
    const size_t frames = input.front().size();
    const int outs = Plx::channelCount(config.output);
    Planar output(static_cast<size_t>(outs), std::vector<float>(frames));
    std::vector<float*> inPointers(input.size()), outPointers(static_cast<size_t>(outs));
    for (size_t offset = 0; offset < frames; offset += static_cast<size_t>(block)) {
        const auto n = static_cast<int32_t>(std::min<size_t>(static_cast<size_t>(block), frames - offset));
        for (size_t c = 0; c < input.size(); ++c)
            inPointers[c] = const_cast<float*>(input[c].data()) + offset;
        for (size_t c = 0; c < outPointers.size(); ++c) outPointers[c] = output[c].data() + offset;
        Plx::PlxAudioBuffers inBus{static_cast<int32_t>(input.size()), 0, {inPointers.data()}};
        Plx::PlxAudioBuffers outBus{outs, 0, {outPointers.data()}};
        Plx::PlxProcessData data{};
        data.numSamples = n;
        data.numInputs = data.numOutputs = 1;
        data.inputs = &inBus;
        data.outputs = &outBus;
        EXPECT_EQ(effect.processor()->process(&data), Plx::kResultOk);
    }
    return output;
}

template <class NextBlock>
Planar renderBridge(Lv2Test::Instance& instance, const Planar& input, int outs, NextBlock nextBlock) {
    const size_t frames = input.front().size();
    instance.reserve(frames);
    for (size_t c = 0; c < input.size(); ++c)
        std::copy(input[c].begin(), input[c].end(), instance.input(static_cast<int>(c)));
    for (size_t offset = 0; offset < frames;) {
        const auto n = static_cast<uint32_t>(std::min<size_t>(nextBlock(), frames - offset));
        instance.run(n, static_cast<uint32_t>(offset));
        offset += n;
    }
    Planar output;
    for (int c = 0; c < outs; ++c) output.emplace_back(instance.output(c), instance.output(c) + frames);
    return output;
}

double maxDifference(const Planar& a, const Planar& b) {
    double worst = 0.0;
    for (size_t c = 0; c < a.size(); ++c)
        for (size_t i = 0; i < a[c].size(); ++i)
            worst = std::max(worst, std::fabs(double(a[c][i]) - b[c][i]));
    return worst;
}

double peak(const Planar& a) {
    double p = 0.0;
    for (const auto& ch : a)
        for (float x : ch) p = std::max(p, std::fabs(double(x)));
    return p;
}

// The ports that the bridge gives a configuration, read as the generator reads them.
Lv2::PortLayout layoutOf(const Lv2::Configuration& config) {
    std::string why;
    auto bridge = Lv2::Bridge::create(config, 48000, Lv2Test::bundleDir(), nullptr, &why);
    if (!bridge) throw std::runtime_error(why);
    return bridge->ports();
}

// An instance with its ports connected and set to their defaults.
std::unique_ptr<Lv2Test::Instance> startInstance(const Lv2Test::Library& library,
                                                 const Lv2::Configuration& config,
                                                 const Lv2::PortLayout& layout, double rate = 48000,
                                                 int32_t maxBlock = 0, bool active = true) {
    auto instance = std::make_unique<Lv2Test::Instance>(library, Lv2::pluginUri(config), rate,
                                                        Lv2Test::bundleDir(), maxBlock);
    if (!instance->handle()) return nullptr;
    instance->setPorts(static_cast<int>(layout.inputs.size()), static_cast<int>(layout.outputs.size()),
                       static_cast<int>(layout.controls.size()));
    for (size_t i = 0; i < layout.controls.size(); ++i)
        instance->control(static_cast<int>(i)) = static_cast<float>(layout.controls[i].defaultValue);
    if (active) instance->activate();
    return instance;
}

int controlIndex(const Lv2::PortLayout& layout, const std::string& symbol) {
    for (size_t i = 0; i < layout.controls.size(); ++i)
        if (layout.controls[i].symbol == symbol) return static_cast<int>(i);
    throw std::runtime_error("no control " + symbol);
}

// Every converter plug-in, its controls at their defaults, blocks of any size
// from 1 to 8192 changing from call to call: the same output as the module
// driven directly in blocks of 1024, and the processor's latency on its port.
TEST(Lv2Bridge, EveryConverterConfigurationRendersLikeTheModuleDrivenDirectly) {
    Lv2Test::Library library;
    std::mt19937 rng(5);
    std::uniform_int_distribution<int> blockSize(1, 8192);
    for (const Lv2::Configuration& config : Lv2::configurations()) {
        if (config.processorClass != Plx::kMatrixMixerProcessorUID) continue;
        SCOPED_TRACE(Lv2::pluginUri(config));
        const Lv2::PortLayout layout = layoutOf(config);
        const Planar input = noise(Plx::channelCount(config.input), 20000, 11);
        const Planar expected = renderDirect(config, input, 1024);
        ASSERT_GT(peak(expected), 0.1);
        auto instance = startInstance(library, config, layout);
        ASSERT_TRUE(instance);
        const Planar got = renderBridge(*instance, input, static_cast<int>(layout.outputs.size()),
                                        [&] { return blockSize(rng); });
        EXPECT_LT(maxDifference(got, expected), 1e-6 * peak(expected));
        EXPECT_EQ(instance->latency(),
                  static_cast<float>(DirectEffect(config, 1024, 48000).processor()->getLatencySamples()));
    }
}

// A host may process in place: outputs on the buffers of inputs.
TEST(Lv2Bridge, InPlaceBuffersGiveTheSameOutput) {
    Lv2Test::Library library;
    const Lv2::Configuration& config = configurationOf(Layout::k5_1, Layout::kStereo);
    const Lv2::PortLayout layout = layoutOf(config);
    const Planar input = noise(6, 3000, 41);
    const Planar expected = renderDirect(config, input, 1024);
    auto instance = startInstance(library, config, layout);
    instance->shareBuffer(0, 2); // L out on C in, which both outputs read
    instance->shareBuffer(1, 0); // R out on L in
    EXPECT_LT(maxDifference(renderBridge(*instance, input, 2, [] { return 700; }), expected),
              1e-6 * peak(expected));
}

// The rates a host may run at, with and without telling its largest block.
TEST(Lv2Bridge, RendersAtEveryRateFrom8kHzTo384kHz) {
    Lv2Test::Library library;
    const Lv2::Configuration& config = configurationOf(Layout::k7_1_4, Layout::k5_1);
    const Lv2::PortLayout layout = layoutOf(config);
    std::mt19937 rng(9);
    std::uniform_int_distribution<int> blockSize(1, 8192);
    const Planar input = noise(12, 12000, 3);
    int32_t hostMax = 0;
    for (double rate : {8000.0, 11025.0, 22050.0, 32000.0, 44100.0, 48000.0, 88200.0, 96000.0, 176400.0,
                        192000.0, 352800.0, 384000.0}) {
        SCOPED_TRACE(rate);
        hostMax = hostMax == 0 ? 512 : 0;
        auto instance = startInstance(library, config, layout, rate, hostMax);
        ASSERT_TRUE(instance);
        const Planar expected = renderDirect(config, input, 1024, rate);
        const Planar got = renderBridge(*instance, input, 6, [&] { return blockSize(rng); });
        EXPECT_LT(maxDifference(got, expected), 1e-6 * peak(expected));
    }
}

// The input with one channel silent.
Planar without(Planar signal, int channel) {
    std::fill(signal[static_cast<size_t>(channel)].begin(), signal[static_cast<size_t>(channel)].end(), 0.0f);
    return signal;
}

// A level at -inf takes its channel out of the mix, once the ramp to it is
// over; the settings a port change makes are those of the parameter's own
// conversion; NaN on a port changes nothing; a toggle is on above 0.
TEST(Lv2Bridge, ControlPortChangesAreHeardAndNaNIsIgnored) {
    Lv2Test::Library library;
    const Lv2::Configuration& config = configurationOf(Layout::k5_1, Layout::kStereo);
    const Lv2::PortLayout layout = layoutOf(config);
    const int center = controlIndex(layout, "center_level");
    const int global = controlIndex(layout, "global_level");
    const int lowPass = controlIndex(layout, "low_pass_filter");
    const Planar input = noise(6, 19200, 21);
    const size_t half = 9600;

    auto instance = startInstance(library, config, layout);
    ASSERT_TRUE(instance);
    instance->reserve(input[0].size());
    for (int c = 0; c < 6; ++c) std::copy(input[c].begin(), input[c].end(), instance->input(c));
    instance->run(static_cast<uint32_t>(half), 0);
    instance->control(center) = -INFINITY;
    instance->run(static_cast<uint32_t>(half), static_cast<uint32_t>(half));
    // The ramp to silence takes a few milliseconds; a quarter second later
    // the centre is gone, and nothing else changed.
    const Planar silentCenter = renderDirect(config, without(input, 2), 1024);
    const Planar withCenter = renderDirect(config, input, 1024);
    double worst = 0.0, before = 0.0;
    for (int c = 0; c < 2; ++c) {
        for (size_t i = half + 4800; i < input[0].size(); ++i)
            worst = std::max(worst, std::fabs(double(instance->output(c)[i]) - silentCenter[c][i]));
        for (size_t i = 0; i < half; ++i)
            before = std::max(before, std::fabs(double(instance->output(c)[i]) - withCenter[c][i]));
    }
    EXPECT_LT(worst, 1e-6);
    EXPECT_LT(before, 1e-6);

    // NaN on a port from the start and in the middle: the same output as
    // without it. A toggle at 0.3 is the same as at 1.
    auto reference = startInstance(library, config, layout);
    auto withNaN = startInstance(library, config, layout);
    reference->control(lowPass) = 1.0f;
    withNaN->control(lowPass) = 0.3f;
    withNaN->control(center) = NAN;
    const Planar firstRef = renderBridge(*reference, input, 2, [] { return 480; });
    const Planar firstNaN = renderBridge(*withNaN, input, 2, [&] {
        withNaN->control(global) = NAN;
        return 480;
    });
    EXPECT_EQ(maxDifference(firstRef, firstNaN), 0.0);
    EXPECT_GT(maxDifference(firstRef, withCenter), 1e-3); // the low-pass is on, and heard
}

// What a host does with a session: it saves the state, and a new instance
// gets it back, with its ports at the saved values or left as they were.
TEST(Lv2Bridge, SavedStateRestoresTheSameOutput) {
    Lv2Test::Library library;
    const Lv2::Configuration& config = configurationOf(Layout::k7_1_4, Layout::kStereo);
    const Lv2::PortLayout layout = layoutOf(config);
    const int center = controlIndex(layout, "center_level");
    const int global = controlIndex(layout, "global_level");
    const int top = controlIndex(layout, "top_level");
    const Planar input = noise(12, 4800, 33);

    auto saved = startInstance(library, config, layout);
    saved->control(center) = -9.0f;
    saved->control(global) = -2.5f;
    saved->control(top) = -180.0f;
    const Planar original = renderBridge(*saved, input, 2, [] { return 256; });
    Lv2Test::SavedState state;
    ASSERT_TRUE(saved->save(&state));
    ASSERT_FALSE(state.properties.empty());

    // Ports left at their defaults: the restored settings hold.
    auto restored = startInstance(library, config, layout);
    EXPECT_EQ(restored->restore(state), LV2_STATE_SUCCESS);
    const Planar again = renderBridge(*restored, input, 2, [] { return 1000; });
    EXPECT_LT(maxDifference(again, original), 1e-6 * peak(original));
    EXPECT_GT(maxDifference(again, renderDirect(config, input, 1024)), 1e-2);

    // Restored before activation, as hosts load a session.
    auto beforeActivation = startInstance(library, config, layout, 48000, 0, false);
    EXPECT_EQ(beforeActivation->restore(state), LV2_STATE_SUCCESS);
    beforeActivation->activate();
    EXPECT_LT(maxDifference(renderBridge(*beforeActivation, input, 2, [] { return 480; }), original),
              1e-6 * peak(original));

    // Ports set to the saved values, as a host restores them, before the state.
    auto hostLike = startInstance(library, config, layout);
    hostLike->control(center) = -9.0f;
    hostLike->control(global) = -2.5f;
    hostLike->control(top) = -180.0f;
    EXPECT_EQ(hostLike->restore(state), LV2_STATE_SUCCESS);
    EXPECT_LT(maxDifference(renderBridge(*hostLike, input, 2, [] { return 64; }), original),
              1e-6 * peak(original));

    // A port that moves after the restore is heard.
    restored->control(global) = -180.0f;
    const Planar muted = renderBridge(*restored, input, 2, [] { return 4800; });
    EXPECT_LT(peak(Planar{std::vector<float>(muted[0].begin() + 2400, muted[0].end())}), 1e-6);

    // Bytes that aren't a state are refused; the instance keeps running.
    Lv2Test::SavedState garbage = state;
    for (auto& [key, value] : garbage.properties) std::fill(value.second.begin(), value.second.end(), 0xA5);
    auto refused = startInstance(library, config, layout);
    EXPECT_NE(refused->restore(garbage), LV2_STATE_SUCCESS);
    const Planar stillRunning = renderBridge(*refused, input, 2, [] { return 512; });
    EXPECT_LT(maxDifference(stillRunning, renderDirect(config, input, 1024)), 1e-6 * peak(original));

    // Without urid:map there is no state, and no crash.
    Lv2Test::Instance noMap(library, Lv2::pluginUri(config), 48000, Lv2Test::bundleDir(), 0, false);
    ASSERT_NE(noMap.handle(), nullptr);
    Lv2Test::SavedState none;
    EXPECT_FALSE(noMap.save(&none));
}

TEST(Lv2Bridge, RunAllocatesNothingAndTakesNoLock) {
    if (!RtGuard::available()) GTEST_SKIP() << "the allocation guard is compiled out under the sanitizers";
    Lv2Test::Library library;
    const Lv2::Configuration& config = configurationOf(Layout::k22_2, Layout::k7_1_4);
    const Lv2::PortLayout layout = layoutOf(config);
    auto instance = startInstance(library, config, layout, 48000, 0);
    instance->reserve(20000);
    const Planar input = noise(24, 20000, 4);
    for (int c = 0; c < 24; ++c) std::copy(input[c].begin(), input[c].end(), instance->input(c));
    const int global = controlIndex(layout, "global_level");
    const int lowPass = controlIndex(layout, "low_pass_filter");
    RtGuard::arm();
    uint32_t offset = 0;
    // The first run hands the settings over; later ones change controls,
    // and 9000 is split into blocks that the effect was set up for.
    for (uint32_t n : {1u, 64u, 0u, 9000u, 333u, 8192u}) {
        instance->control(global) = -static_cast<float>(n % 20);
        instance->control(lowPass) = static_cast<float>(n % 2);
        instance->run(n, offset);
        offset += n;
    }
    const RtGuard::Counts counts = RtGuard::disarm();
    EXPECT_EQ(counts.allocations, 0);
    EXPECT_EQ(counts.locks, 0);
}

// A bundle whose module is missing or isn't ours, a rate that can't be, an
// effect the module can't create: instantiate fails with one line on stderr.
TEST(Lv2Bridge, BadBundlesAndRatesFailInstantiateWithAMessage) {
    namespace fs = std::filesystem;
    Lv2Test::Library library;
    const Lv2::Configuration& config = configurationOf(Layout::k5_1, Layout::kStereo);
    const std::string uri = Lv2::pluginUri(config);
    const fs::path root = fs::path(testing::TempDir()) / ("lv2-bad-" + std::to_string(::getpid()));
    fs::remove_all(root);
    fs::create_directories(root / "empty.lv2");
    fs::create_directories(root / "text.lv2");
    fs::create_directories(root / "foreign.lv2");
    std::ofstream(root / "text.lv2" / Lv2::kModuleFileName) << "not a module\n";
    fs::copy_file(Lv2Test::bridgePath(), root / "foreign.lv2" / Lv2::kModuleFileName);

    auto failure = [&](const std::string& bundle, double rate, const std::string& plugin) {
        testing::internal::CaptureStderr();
        Lv2Test::Instance instance(library, plugin, rate, bundle);
        const std::string said = testing::internal::GetCapturedStderr();
        EXPECT_EQ(instance.handle(), nullptr) << bundle;
        EXPECT_NE(said.find(plugin), std::string::npos) << said;
        return said;
    };
    EXPECT_NE(failure((root / "empty.lv2").string(), 48000, uri).find("missing"), std::string::npos);
    EXPECT_NE(failure((root / "text.lv2").string(), 48000, uri).find("cannot load"), std::string::npos);
    EXPECT_NE(failure((root / "foreign.lv2").string(), 48000, uri).find("InitDll"), std::string::npos);
    for (double rate : {0.0, -48000.0, double(NAN), double(INFINITY)})
        EXPECT_NE(failure(Lv2Test::bundleDir(), rate, uri).find("sample rate"), std::string::npos);
    // Plug-ins of an effect that the module can't create yet say so.
    for (const Lv2::Configuration& other : Lv2::configurations()) {
        if (Lv2Test::moduleCreates(other.processorClass)) continue;
        EXPECT_NE(failure(Lv2Test::bundleDir(), 48000, Lv2::pluginUri(other)).find("can't create"),
                  std::string::npos);
    }
    fs::remove_all(root);
}

} // namespace
