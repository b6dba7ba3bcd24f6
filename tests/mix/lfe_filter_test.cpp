// MixMorph's LFE low-pass through the module's exports: the LFE channel of a
// 5.1 input carries the 120 Hz low-pass while the others pass as they are,
// switching lPFilter mid-stream fades, direct mode bypasses the filter, an
// input without LFE has it on the output's LFE, and 64-bit audio does the
// same. The rig runs every block under the real-time guard.
#include "tests/mix/mixer_rig.h"

#include "dsp/algo32/fade.h"
#include "dsp/algo64/fade.h"

namespace MixTest {
namespace {

constexpr double kRate = 48000.0;
constexpr double kPi = 3.141592653589793;
constexpr int kBlock = 512; // two slices of 256 at 48 kHz
constexpr Plx::ParamID kLowPass = 133;
constexpr Plx::ParamID kLfeLevel = 11;
constexpr int kLfe = 3; // L R C LFE Ls Rs

template <class T>
using FilterFade = DSP::WideFrame::FilterFade<T>;

// Input channel c at sample n: 60 Hz and 1 kHz on the LFE, other tones elsewhere.
double source(int c, long n, double rate = kRate) {
    const double t = static_cast<double>(n) / rate;
    if (c == kLfe) return 0.5 * std::sin(2 * kPi * 60 * t) + 0.5 * std::sin(2 * kPi * 1000 * t);
    return 0.3 * std::sin(2 * kPi * (200 + 150 * c) * t);
}

// The LFE input run through a filter fade set up as the converter's and
// switched on before audio runs: the steady low-pass the mixer should reach.
template <class T>
std::vector<T> lowPassed(const std::vector<T>& x, double rate = kRate) {
    FilterFade<T> fade(rate, kBlock, 250.0f, 0);
    fade.init();
    fade.reset();
    fade.setFilterOff(false);
    fade.setFilter(0, 120.0, 1.0);
    std::vector<T> y(x);
    for (size_t pos = 0; pos < y.size(); pos += kBlock)
        fade.processMono(&fade, y.data() + pos, y.data() + pos, kBlock);
    return y;
}

IPtr<Host::ParameterChanges> change(Plx::ParamID id, double value) {
    auto changes = IPtr<Host::ParameterChanges>::adopt(Host::ParameterChanges::create());
    changes->addChange(id, 0, value);
    return changes;
}

// Runs `blocks` blocks of `source` through a started rig; `at(block)` may
// return parameter changes for that block. Answers every output channel.
template <class T, class At>
std::vector<std::vector<T>> play(MixerRig& rig, int blocks, At at, double rate = kRate) {
    const int ins = rig.inputs(), outs = rig.outputs();
    std::vector<std::vector<T>> heard(static_cast<size_t>(outs));
    Planar<T> in(ins, kBlock), out(outs, kBlock);
    for (int b = 0; b < blocks; ++b) {
        for (int c = 0; c < ins; ++c)
            for (int t = 0; t < kBlock; ++t)
                in.at(c, t) =
                    static_cast<T>(source(ins == 6 || c < kLfe ? c : c + 1, long(b) * kBlock + t, rate));
        auto changes = at(b);
        EXPECT_EQ(rig.process(in, out, kBlock, changes.get()), Plx::kResultOk);
        for (int c = 0; c < outs; ++c)
            heard[c].insert(heard[c].end(), out.pointers[c], out.pointers[c] + kBlock);
    }
    return heard;
}

// A started 5.1 converter whose lPFilter is set by a silent first block.
template <class T>
std::unique_ptr<MixerRig> converter(Plx::SpeakerArrangement in, bool lowPass) {
    auto rig = std::make_unique<MixerRig>();
    EXPECT_EQ(rig->arrange(in, Plx::Layout::k5_1), Plx::kResultOk);
    EXPECT_EQ(rig->setup(kRate, kBlock, sizeof(T) == 4 ? Plx::kSample32 : Plx::kSample64), Plx::kResultOk);
    rig->start();
    Planar<T> a(rig->inputs(), kBlock), b(rig->outputs(), kBlock);
    // Without an input LFE the LFE level starts at 0: raise it, so that the
    // mains reach the output's LFE.
    auto changes = change(kLowPass, lowPass ? 1.0 : 0.0);
    changes->addChange(kLfeLevel, 0, 0.5);
    EXPECT_EQ(rig->process(a, b, kBlock, changes.get(), ~0ull), Plx::kResultOk);
    return rig;
}

template <class T>
std::vector<T> lfeInput(size_t n, double rate = kRate) {
    std::vector<T> x(n);
    for (size_t i = 0; i < n; ++i) x[i] = static_cast<T>(source(kLfe, static_cast<long>(i), rate));
    return x;
}

template <class T>
double steepest(const std::vector<T>& x) {
    double s = 0;
    for (size_t n = 1; n < x.size(); ++n) s = std::max(s, std::fabs(double(x[n] - x[n - 1])));
    return s;
}

template <class T>
class LfeFilter : public ::testing::Test {};
using SampleTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(LfeFilter, SampleTypes);

TYPED_TEST(LfeFilter, LowPassesTheInputLfeAndFadesWhenSwitched) {
    using T = TypeParam;
    constexpr int blocks = 200; // 2.13 s
    auto rig = converter<T>(Plx::Layout::k5_1, true);
    // lPFilter off at block 100; the filter fades out over 250 ms.
    const auto heard = play<T>(*rig, blocks, [](int b) {
        return b == 100 ? change(kLowPass, 0.0) : IPtr<Host::ParameterChanges>();
    });
    const auto x = lfeInput<T>(size_t(blocks) * kBlock);
    const auto filtered = lowPassed(x);
    const auto& lfe = heard[kLfe];
    // Faded in from the first block; settled well before block 60.
    for (size_t n = 60 * kBlock; n < 100 * kBlock; ++n) ASSERT_NEAR(lfe[n], filtered[n], 1e-4) << n;
    // Mid-fade the output is neither signal; then the input passes untouched.
    double offFiltered = 0, offInput = 0;
    for (size_t n = 100 * kBlock + 5000; n < 100 * kBlock + 7000; ++n) {
        offFiltered = std::max(offFiltered, std::fabs(double(lfe[n] - filtered[n])));
        offInput = std::max(offInput, std::fabs(double(lfe[n] - x[n])));
    }
    EXPECT_GT(offFiltered, 0.1);
    EXPECT_GT(offInput, 0.1);
    for (size_t n = 130 * kBlock; n < lfe.size(); ++n) ASSERT_EQ(lfe[n], x[n]) << n;
    // No click: no step steeper than the signals' own plus the fade's slope.
    EXPECT_LE(steepest(lfe), std::max(steepest(x), steepest(filtered)) + 2.0 * 2.5 / 12000.0 + 1e-6);
    // The other channels pass as they are.
    for (int c : {0, 1, 2, 4, 5})
        for (size_t n = 0; n < heard[c].size(); n += 37)
            ASSERT_EQ(heard[c][n], static_cast<T>(source(c, long(n)))) << c << " " << n;
}

TYPED_TEST(LfeFilter, DirectModeBypassesTheFilter) {
    using T = TypeParam;
    auto rig = converter<T>(Plx::Layout::k5_1, true);
    const auto heard = play<T>(
        *rig, 120, [](int b) { return b == 60 ? change(kDirectMode, 1.0) : IPtr<Host::ParameterChanges>(); });
    const auto x = lfeInput<T>(120 * kBlock);
    const auto filtered = lowPassed(x);
    for (size_t n = 40 * kBlock; n < 60 * kBlock; ++n) ASSERT_NEAR(heard[kLfe][n], filtered[n], 1e-4) << n;
    for (size_t n = 90 * kBlock; n < 120 * kBlock; ++n) ASSERT_EQ(heard[kLfe][n], x[n]) << n;
}

TYPED_TEST(LfeFilter, WithoutAnInputLfeTheOutputLfeIsFiltered) {
    using T = TypeParam;
    // 5.0 (L R C Ls Rs) to 5.1: whatever the mix gives the LFE output is low-passed.
    auto plain = converter<T>(Plx::Layout::k5_0, false);
    auto lowPass = converter<T>(Plx::Layout::k5_0, true);
    const auto none = [](int) { return IPtr<Host::ParameterChanges>(); };
    const auto unfiltered = play<T>(*plain, 80, none)[kLfe];
    const auto heard = play<T>(*lowPass, 80, none)[kLfe];
    const auto filtered = lowPassed(unfiltered);
    EXPECT_GT(steepest(unfiltered), 0.01) << "the mains reach the LFE";
    for (size_t n = 50 * kBlock; n < heard.size(); ++n) ASSERT_NEAR(heard[n], filtered[n], 1e-4) << n;
}

TYPED_TEST(LfeFilter, ANewRateRebuildsTheFilter) {
    using T = TypeParam;
    auto rig = converter<T>(Plx::Layout::k5_1, true);
    rig->stop();
    ASSERT_EQ(rig->setup(96000.0, kBlock, sizeof(T) == 4 ? Plx::kSample32 : Plx::kSample64), Plx::kResultOk);
    rig->start();
    const auto heard = play<T>(
        *rig, 150, [](int) { return IPtr<Host::ParameterChanges>(); }, 96000.0);
    const auto filtered = lowPassed(lfeInput<T>(150 * kBlock, 96000.0), 96000.0);
    for (size_t n = 120 * kBlock; n < heard[kLfe].size(); ++n)
        ASSERT_NEAR(heard[kLfe][n], filtered[n], 1e-4) << n;
}

} // namespace
} // namespace MixTest
