// Loading the module, initialising it and running the libraries behind the
// toolkit (a BLAS product, an FFT plan and transform) starts no thread: the
// audio thread must never start or wake one.
#include "dsp/data/linear_algebra.h"
#include "dsp/vec/vec.h"
#include "frame/class_ids.h"
#include "frame/iaudioprocessor.h"
#include "frame/icomponent.h"
#include "host/lib/host_application.h"
#include "host/lib/module.h"
#include "host/lib/plugin.h"

#include <gtest/gtest.h>

#include <dirent.h>

#include <complex>
#include <string>
#include <vector>

namespace DSP = Tannhofen::DSP;

namespace {

int threadCount() {
    int count = 0;
    if (DIR* dir = opendir("/proc/self/task")) {
        while (dirent* entry = readdir(dir))
            if (entry->d_name[0] != '.') ++count;
        closedir(dir);
    }
    return count;
}

TEST(NoThreads, ModuleBlasAndFftStartNone) {
    // Only the main thread runs: a library linked into the process (a threaded
    // BLAS starts its pool when loaded) would show here already.
    const int before = threadCount();
    EXPECT_EQ(before, 1);

    // Loaded the way a host loads it: InitDll, then GetPluginFactory.
    std::string error;
    auto module = Tannhofen::Host::Module::load(PLX_MODULE_PATH, &error);
    ASSERT_NE(module, nullptr) << error;

    // Real and complex products large enough for a threaded BLAS to split them.
    DSP::Data::SmallMatrix<float> a(64, 64), b(64, 512), c(64, 512);
    DSP::Data::SmallComplexMatrix<double> x(64, 64), y(64, 64), z(64, 64);
    ASSERT_FALSE(a.init() || b.init() || c.init() || x.init() || y.init() || z.init());
    DSP::Vec::fill(0.5f, a.data, 64 * 64);
    DSP::Vec::fill(2.0f, b.data, 64 * 512);
    DSP::Data::multiply(a, b, c);
    EXPECT_EQ(c.data[0], 64.0f);
    for (int i = 0; i < 64 * 64; ++i) x.data[i] = y.data[i] = std::complex<double>(0, 1);
    DSP::Data::multiply(x, y, z);
    EXPECT_EQ(z.data[0], std::complex<double>(-64, 0));

    // An FFT planned and run.
    int specSize = 0, initSize = 0, workSize = 0;
    ASSERT_EQ(DSP::Vec::fftGetSize(12, DSP::Vec::FftDivInvByN, specSize, initSize, workSize),
              DSP::Vec::StsNoErr);
    std::vector<uint8_t> spec(specSize);
    DSP::Vec::FftSpec<float>* plan = nullptr;
    ASSERT_EQ(DSP::Vec::fftInit(&plan, 12, DSP::Vec::FftDivInvByN, spec.data(), nullptr), DSP::Vec::StsNoErr);
    std::vector<float> re(4096, 1.0f), im(4096, 0.0f), outRe(4096), outIm(4096);
    ASSERT_EQ(DSP::Vec::fftFwd(re.data(), im.data(), outRe.data(), outIm.data(), plan, nullptr),
              DSP::Vec::StsNoErr);
    EXPECT_EQ(outRe[0], 4096.0f);
    DSP::Vec::fftFree(plan);

    // A converter processes a block of 22.2 to 7.1.4, which runs its BLAS product.
    {
        namespace Plx = Tannhofen::Plx;
        auto host =
            Plx::IPtr<Tannhofen::Host::HostApplication>::adopt(Tannhofen::Host::HostApplication::create());
        auto plugin = Tannhofen::Host::Plugin::create(module->factory(), Plx::kMatrixMixerProcessorUID,
                                                      host.get(), &error);
        ASSERT_TRUE(plugin) << error;
        Plx::IAudioProcessor* processor = plugin->processor();
        Plx::SpeakerArrangement in = Plx::Layout::k22_2, out = Plx::Layout::k7_1_4;
        ASSERT_EQ(processor->setBusArrangements(&in, 1, &out, 1), Plx::kResultOk);
        Plx::PlxProcessSetup setup{Plx::kRealtime, Plx::kSample32, 512, 48000.0};
        ASSERT_EQ(processor->setupProcessing(&setup), Plx::kResultOk);
        plugin->component()->setActive(1);
        processor->setProcessing(1);
        std::vector<std::vector<float>> inData(24, std::vector<float>(512, 0.25f)),
            outData(12, std::vector<float>(512));
        std::vector<float*> inPtr, outPtr;
        for (auto& c : inData) inPtr.push_back(c.data());
        for (auto& c : outData) outPtr.push_back(c.data());
        Plx::PlxAudioBuffers inBus{24, 0, {inPtr.data()}}, outBus{12, 0, {outPtr.data()}};
        Plx::PlxProcessData data{};
        data.numSamples = 512;
        data.numInputs = data.numOutputs = 1;
        data.inputs = &inBus;
        data.outputs = &outBus;
        for (int block = 0; block < 3; ++block) ASSERT_EQ(processor->process(&data), Plx::kResultOk);
        EXPECT_GT(outData[0][511], 0.0f);
        processor->setProcessing(0);
        plugin->component()->setActive(0);
    }

    EXPECT_EQ(threadCount(), before);
    module.reset(); // releases the factory, calls ExitDll, unloads
    EXPECT_EQ(threadCount(), before);
}

} // namespace
