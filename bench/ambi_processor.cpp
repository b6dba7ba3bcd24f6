// SphereDecoder's process() at order 3 to binaural, 7.1.4 and third order,
// 48 kHz, blocks of 512 frames, with the head turning every block (the yaw
// changes, so every block fades to a new rotation), through the module's exports as a host calls it; beside the
// algorithm alone, configured the same and given the same turn, so that the
// ratio of the two is what the processor adds (parameter queue, setters,
// meters, guards and the aux path). "xRealTime" is audio time over CPU time.
#include <benchmark/benchmark.h>

#include <memory>
#include <random>
#include <vector>

#include "ambi/ambi2ambi_algo.h"
#include "ambi/ambi_bin_algo.h"
#include "ambi/ambi_speaker_algo.h"
#include "frame/class_ids.h"
#include "frame/iaudioprocessor.h"
#include "frame/icomponent.h"
#include "frame/speaker_layouts.h"
#include "host/lib/host_application.h"
#include "host/lib/module.h"
#include "host/lib/parameter_changes.h"

using namespace Tannhofen;
namespace AmbiBin = Tannhofen::AmbiBin;
namespace Layout = Tannhofen::Plx::Layout;

namespace {

constexpr int kBlock = 512;
constexpr double kRate = 48000.0;
constexpr int kInputs = 16;
constexpr Plx::ParamID kYaw = 110;

// Planar noise and room for the widest output.
struct Buffers {
    explicit Buffers(int outputs)
        : in(kInputs, std::vector<float>(kBlock)), out(outputs, std::vector<float>(kBlock)) {
        std::mt19937 rng(3);
        std::uniform_real_distribution<float> dist(-0.5f, 0.5f);
        for (auto& channel : in)
            for (float& x : channel) x = dist(rng);
        aux = in;
        aux.resize(2);
        for (auto& c : in) inPointers.push_back(c.data());
        for (auto& c : out) outPointers.push_back(c.data());
        for (auto& c : aux) auxPointers.push_back(c.data());
    }
    std::vector<std::vector<float>> in, out, aux;
    std::vector<float*> inPointers, outPointers, auxPointers;
};

// A yaw that moves a little every block: the rotation fades each time.
double yawAt(int64_t block) {
    return 0.5 + 0.25 * std::sin(0.01 * double(block));
}

void reportRealTime(benchmark::State& state) {
    state.counters["xRealTime"] =
        benchmark::Counter(double(state.iterations()) * kBlock / kRate, benchmark::Counter::kIsRate);
}

Host::Module& module() {
    static std::unique_ptr<Host::Module> loaded = Host::Module::load(PLX_MODULE_PATH);
    return *loaded;
}

void Processor(benchmark::State& state, Plx::SpeakerArrangement out) {
    Plx::IPtr<Host::HostApplication> host =
        Plx::IPtr<Host::HostApplication>::adopt(Host::HostApplication::create());
    Plx::IPtr<Plx::IComponent> component =
        module().createInstance<Plx::IComponent>(Plx::kAmbiBinProcessorUID);
    Plx::IPtr<Plx::IAudioProcessor> processor =
        Plx::IPtr<Plx::IAudioProcessor>::adopt(Plx::queryInterfaceOf<Plx::IAudioProcessor>(component.get()));
    component->initialize(host->unknown());
    Plx::PlxProcessSetup setup{Plx::kRealtime, Plx::kSample32, kBlock, kRate};
    processor->setupProcessing(&setup);
    Plx::SpeakerArrangement ins[2] = {Layout::kAmbi3, Layout::kStereo};
    processor->setBusArrangements(ins, 2, &out, 1);
    if (component->setActive(1) != Plx::kResultOk) state.SkipWithError("the decoder can't run this output");
    const int outputs = Plx::channelCount(out);
    Buffers b(outputs);
    Plx::IPtr<Host::ParameterChanges> changes =
        Plx::IPtr<Host::ParameterChanges>::adopt(Host::ParameterChanges::create());
    Plx::IPtr<Host::ParameterChanges> meters =
        Plx::IPtr<Host::ParameterChanges>::adopt(Host::ParameterChanges::create());
    Plx::PlxAudioBuffers buses[3]{};
    buses[0].numChannels = kInputs;
    buses[0].channelBuffers32 = b.inPointers.data();
    buses[1].numChannels = 2;
    buses[1].channelBuffers32 = b.auxPointers.data();
    buses[2].numChannels = outputs;
    buses[2].channelBuffers32 = b.outPointers.data();
    Plx::PlxProcessData data{};
    data.symbolicSampleSize = Plx::kSample32;
    data.numSamples = kBlock;
    data.numInputs = 2;
    data.numOutputs = 1;
    data.inputs = buses;
    data.outputs = &buses[2];
    data.inputParameterChanges = changes.get();
    data.outputParameterChanges = meters.get();
    int64_t block = 0;
    for (auto _ : state) {
        changes->clear();
        meters->clear();
        changes->addChange(kYaw, kBlock - 1, yawAt(++block));
        processor->process(&data);
        benchmark::DoNotOptimize(b.out[0][0]);
    }
    reportRealTime(state);
    component->setActive(0);
    component->terminate();
}

// The algorithm configured as the processor configures it; `prepare` runs
// before init (the binaural one selects its HRIR set there).
template <class Algo, class Prepare>
void AlgorithmAlone(benchmark::State& state, std::unique_ptr<Algo> algo, bool collector, Prepare prepare) {
    Buffers b(int(algo->numOutputs));
    algo->setOrder(3);
    algo->setChannels(kInputs, uint32_t(algo->numOutputs));
    algo->setBlockSize(kBlock);
    algo->collectBlockSize = kBlock;
    algo->setSampleRate(float(kRate));
    prepare(*algo);
    if (algo->init() != AmbiBin::AmbiAlgo<float>::kInitDone)
        state.SkipWithError("the algorithm refused init");
    algo->reset();
    int64_t block = 0;
    for (auto _ : state) {
        algo->rotation.setYaw(yawAt(++block));
        if (collector)
            algo->process(b.inPointers.data(), b.outPointers.data(), kBlock);
        else
            algo->processBlock(b.inPointers.data(), b.outPointers.data(), kBlock);
        benchmark::DoNotOptimize(b.out[0][0]);
    }
    reportRealTime(state);
    algo->release();
    static_cast<Plx::FObject*>(algo.release())->release();
}

void AmbisonicProcessor(benchmark::State& state) {
    Processor(state, Layout::kAmbi3);
}
void AmbisonicAlone(benchmark::State& state) {
    AlgorithmAlone(state, std::make_unique<AmbiBin::Ambi2AmbiAlgo<float>>(kInputs), false, [](auto&) {});
}

void SpeakersProcessor(benchmark::State& state) {
    Processor(state, Layout::k7_1_4);
}
void SpeakersAlone(benchmark::State& state) {
    auto algo = std::make_unique<AmbiBin::AmbiSpeakerAlgo<float>>(Plx::channelCount(Layout::k7_1_4));
    algo->setSpeakerConf(3, Layout::k7_1_4);
    AlgorithmAlone(state, std::move(algo), false, [](auto&) {});
}

void BinauralProcessor(benchmark::State& state) {
    Processor(state, Layout::kStereo);
}
void BinauralAlone(benchmark::State& state) {
    static AmbiBin::HrirBank<float> bank;
    AlgorithmAlone(state, std::make_unique<AmbiBin::AmbiBinAlgo<float>>(&bank), true,
                   [](AmbiBin::AmbiBinAlgo<float>& algo) {
                       algo.setHrir(AmbiBin::kHrirStandard, float(kRate), 3, u"", nullptr, false);
                   });
}

BENCHMARK(BinauralProcessor);
BENCHMARK(BinauralAlone);
BENCHMARK(SpeakersProcessor);
BENCHMARK(SpeakersAlone);
BENCHMARK(AmbisonicProcessor);
BENCHMARK(AmbisonicAlone);

} // namespace
