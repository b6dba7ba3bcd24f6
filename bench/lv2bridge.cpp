// Cost of the LV2 bridge: MixMorph's run() through the bundle's library as an
// LV2 host calls it ("Bridge"), beside the module's process() called
// directly through our host library ("Direct"), for the same configuration,
// block and settings. The bridge adds the control scan and the copy of the
// inputs; both start from the effect's own values. Compare the medians of a pair:
//   bench_lv2bridge --benchmark_repetitions=9 --benchmark_enable_random_interleaving=true
//                   --benchmark_report_aggregates_only=true
#include <benchmark/benchmark.h>

#include <memory>
#include <vector>

#include "frame/iaudioprocessor.h"
#include "frame/icomponent.h"
#include "host/lib/host_application.h"
#include "host/lib/module.h"
#include "host/lib/plugin.h"
#include "lv2/bridge.h"
#include "lv2/configurations.h"
#include "tests/lv2/lv2_test_host.h"

namespace {

using namespace Tannhofen;
constexpr int kBlock = 512;

const Lv2::Configuration& configuration(int index) {
    return Lv2::configurations()[static_cast<size_t>(index)];
}

void Direct(benchmark::State& state) {
    const Lv2::Configuration& config = configuration(static_cast<int>(state.range(0)));
    auto module = Host::Module::load(PLX_MODULE_PATH);
    auto host = Plx::IPtr<Host::HostApplication>::adopt(Host::HostApplication::create());
    auto plugin = Host::Plugin::create(module->factory(), config.processorClass, host.get());
    Plx::SpeakerArrangement in = config.input, out = config.output;
    plugin->processor()->setBusArrangements(&in, 1, &out, 1);
    Plx::PlxProcessSetup setup{Plx::kRealtime, Plx::kSample32, kBlock, 48000.0};
    plugin->processor()->setupProcessing(&setup);
    plugin->component()->setActive(true);
    plugin->processor()->setProcessing(true);
    const int ins = Plx::channelCount(in), outs = Plx::channelCount(out);
    std::vector<std::vector<float>> buffers(static_cast<size_t>(ins + outs),
                                            std::vector<float>(kBlock, 0.25f));
    std::vector<float*> pointers;
    for (auto& b : buffers) pointers.push_back(b.data());
    Plx::PlxAudioBuffers inBus{ins, 0, {pointers.data()}};
    Plx::PlxAudioBuffers outBus{outs, 0, {pointers.data() + ins}};
    Plx::PlxProcessData data{};
    data.numSamples = kBlock;
    data.numInputs = data.numOutputs = 1;
    data.inputs = &inBus;
    data.outputs = &outBus;
    for (auto _ : state) {
        plugin->processor()->process(&data);
        benchmark::DoNotOptimize(buffers.back().data());
    }
    plugin->processor()->setProcessing(false);
    plugin->component()->setActive(false);
    state.SetLabel(Lv2::pluginUri(config).substr(std::string(Lv2::kUriBase).size()));
}

void Bridge(benchmark::State& state) {
    const Lv2::Configuration& config = configuration(static_cast<int>(state.range(0)));
    Lv2Test::Library library;
    Lv2Test::Instance instance(library, Lv2::pluginUri(config), 48000.0, Lv2Test::bundleDir(), kBlock);
    if (!instance.handle()) {
        state.SkipWithError("instantiate failed");
        return;
    }
    // The controls at the effect's own starting values, as Direct runs.
    std::string why;
    const auto probe = Lv2::Bridge::create(config, 48000.0, Lv2Test::bundleDir(), nullptr, &why);
    const std::vector<Lv2::ControlPort>& controls = probe->ports().controls;
    const int ins = Plx::channelCount(config.input), outs = Plx::channelCount(config.output);
    instance.setPorts(ins, outs, static_cast<int>(controls.size()));
    for (size_t c = 0; c < controls.size(); ++c)
        instance.control(static_cast<int>(c)) = static_cast<float>(controls[c].defaultValue);
    instance.reserve(kBlock);
    for (int c = 0; c < ins; ++c) std::fill(instance.input(c), instance.input(c) + kBlock, 0.25f);
    instance.activate();
    for (auto _ : state) {
        instance.run(kBlock);
        benchmark::DoNotOptimize(instance.output(0));
    }
    state.SetLabel(Lv2::pluginUri(config).substr(std::string(Lv2::kUriBase).size()));
}

// 5.1 to Stereo and 22.2 to 7.1.4: the first and the sixth configuration.
BENCHMARK(Direct)->Arg(0)->Arg(5);
BENCHMARK(Bridge)->Arg(0)->Arg(5);

} // namespace
