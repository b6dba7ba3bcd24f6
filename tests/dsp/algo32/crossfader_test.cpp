// Cross-faders of both widths: the logistic curve of the table and the
// computed mode against its formula, where a fade ends, fade-time changes,
// the square-law pair, and the bypass delay that keeps a dry path in time.
#include "dsp/algo32/fade.h"
#include "dsp/algo64/fade.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace DSP = Tannhofen::DSP;

namespace {

template <class T>
using Fader = DSP::WideFrame::CrossFader<T>;

double logistic(double i, double length) {
    return 1.0 / (1.0 + std::exp(5.0 - 10.0 * i / length));
}

template <class T>
class CrossFaders : public ::testing::Test {};
using SampleTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(CrossFaders, SampleTypes);

TYPED_TEST(CrossFaders, LogisticCurveAndTheFadesEnd) {
    using T = TypeParam;
    for (int32_t mode : {0, 1}) {
        Fader<T> fader(48000.0, 256, T(250), mode);
        ASSERT_EQ(fader.init(), 0);
        EXPECT_EQ(fader.fadeLength, 12000);
        fader.fading = true;
        // A = 0 and B = 1 make the output the gain itself.
        std::vector<T> a(256, T(0)), out(256);
        const double tolerance = mode == 0 ? 1e-5 : 1e-4;
        double worst = 0;
        int calls = 0;
        for (; fader.fading; ++calls) {
            std::fill(out.begin(), out.end(), T(1));
            fader.mixMono(&fader, a.data(), out.data(), out.data(), 256);
            for (int i = 0; i < 256; ++i) {
                const int at = calls * 256 + i;
                if (at < 12000)
                    worst = std::max(worst, std::fabs(out[i] - logistic(at, 12000)));
                else if (mode == 0)
                    ASSERT_EQ(out[i], T(1)) << "past the end the table holds 1";
                else
                    ASSERT_NEAR(out[i], logistic(at, 12000), tolerance) << "the computed curve runs on";
            }
        }
        EXPECT_LT(worst, tolerance) << "mode " << mode;
        EXPECT_EQ(calls, 47) << "12000 samples end in the 47th block of 256";
        EXPECT_EQ(fader.fadePosition, 0);
        // Not fading: the destination stays as it is.
        std::fill(out.begin(), out.end(), T(7));
        fader.mixMono(&fader, a.data(), a.data(), out.data(), 256);
        EXPECT_EQ(out[0], T(7));
    }
}

TYPED_TEST(CrossFaders, AllChannelsShareTheGainsAndLongBlocksRunInPieces) {
    using T = TypeParam;
    // Blocks above 2048 frames take the computed curve in runs.
    Fader<T> fader(48000.0, 5000, T(250), 1);
    fader.setChannels(2);
    ASSERT_EQ(fader.init(), 0);
    std::vector<T> a0(5000), a1(5000), b0(5000), b1(5000), o0(5000), o1(5000);
    for (int i = 0; i < 5000; ++i) {
        a0[i] = T(std::sin(0.01 * i)), b0[i] = T(0.5);
        a1[i] = T(-1), b1[i] = T(std::cos(0.003 * i));
    }
    T* a[2] = {a0.data(), a1.data()};
    T* b[2] = {b0.data(), b1.data()};
    T* o[2] = {o0.data(), o1.data()};
    fader.fading = true;
    if constexpr (std::is_same_v<T, float>)
        fader.processMix32(a, b, o, 5000);
    else
        fader.processMix64(a, b, o, 5000);
    for (int i = 0; i < 5000; ++i) {
        const double g = logistic(i, 12000);
        ASSERT_NEAR(o0[i], (1 - g) * a0[i] + g * b0[i], 2e-4) << i;
        ASSERT_NEAR(o1[i], (1 - g) * a1[i] + g * b1[i], 2e-4) << i;
    }
    EXPECT_EQ(fader.fadePosition, 5000);
    EXPECT_TRUE(fader.fading);

    // The table of a short fade is at least two blocks long.
    Fader<T> shortFade(100000.0, 2048, T(1), 0);
    ASSERT_EQ(shortFade.init(), 0);
    EXPECT_EQ(shortFade.tableLength, 4096);
}

TYPED_TEST(CrossFaders, FadeTimeChanges) {
    using T = TypeParam;
    Fader<T> fader(48000.0, 480, T(250), 0);
    ASSERT_EQ(fader.init(), 0);
    std::vector<T> zeros(480, T(0)), out(480, T(1));
    // Runs one block with A = 0, B = 1; returns the gains.
    const auto block = [&](Fader<T>& f) {
        std::fill(out.begin(), out.end(), T(1));
        f.mixMono(&f, zeros.data(), out.data(), out.data(), 480);
    };
    fader.fading = true;
    block(fader);
    fader.setFadeTime(T(300)); // above the longest: ignored
    EXPECT_EQ(fader.fadeLength, 12000);
    EXPECT_TRUE(fader.fading);
    fader.setFadeTime(T(100)); // legal: the running fade is cancelled
    EXPECT_FALSE(fader.fading);
    // The refilled table follows the new length: ten blocks of 480.
    fader.fading = true;
    int calls = 0;
    for (; fader.fading; ++calls) {
        block(fader);
        for (int i = 0; i < 480; i += 97) ASSERT_NEAR(out[i], logistic(calls * 480 + i, 4800), 1e-5);
    }
    EXPECT_EQ(calls, 10);

    // A new rate keeps the time: 250 ms at 96 kHz.
    Fader<T> other(48000.0, 480, T(250), 0);
    ASSERT_EQ(other.init(), 0);
    other.setSampleRate(96000.0);
    other.fading = true;
    block(other);
    EXPECT_NEAR(out[200], logistic(200, 24000), 1e-5);
}

TYPED_TEST(CrossFaders, SquareLawPair) {
    using T = TypeParam;
    Fader<T> fader(1000.0, 64, T(100), 0); // 100 samples
    ASSERT_EQ(fader.init(), 0);
    fader.mixMono = &Fader<T>::mixSquareMono;
    fader.fading = true;
    std::vector<T> a(64, T(2)), out(64);
    std::vector<T> result;
    while (fader.fading) {
        std::fill(out.begin(), out.end(), T(-1));
        fader.mixMono(&fader, a.data(), out.data(), out.data(), 64);
        result.insert(result.end(), out.begin(), out.end());
    }
    ASSERT_EQ(result.size(), 128u);
    for (int i = 0; i < 128; ++i) {
        const double g = i < 100 ? i * i / 10000.0 : 1.0;
        ASSERT_NEAR(result[i], (1 - g) * 2 - g, 1e-6) << i;
    }
}

TYPED_TEST(CrossFaders, BypassDelayKeepsTheDryPathInTime) {
    using T = TypeParam;
    DSP::WideFrame::CrossFaderBypassDelay<T> fader(48000.0, 64, T(10), 100, 0); // 480-sample fade
    fader.setChannels(2);
    ASSERT_EQ(fader.init(), 0);
    ASSERT_TRUE(fader.delay);
    EXPECT_EQ(fader.delay->channelCount, 2);
    EXPECT_TRUE(fader.dryPending);

    // A dry impulse on both channels, a wet signal of constant 1.
    std::vector<std::vector<T>> dry(2, std::vector<T>(64, T(0))), wet(2, std::vector<T>(64, T(1)));
    std::vector<T> heard;
    fader.fading = true;
    for (int block = 0; block < 3; ++block) {
        for (auto& d : dry) std::fill(d.begin(), d.end(), T(0));
        if (block == 0) dry[0][0] = dry[1][0] = T(1);
        T* d[2] = {dry[0].data(), dry[1].data()};
        fader.delayDry(d, 64);
        for (auto& w : wet) std::fill(w.begin(), w.end(), T(1));
        T* w[2] = {wet[0].data(), wet[1].data()};
        if constexpr (std::is_same_v<T, float>)
            fader.process32(d, w, 64);
        else
            fader.process64(d, w, 64);
        heard.insert(heard.end(), wet[1].begin(), wet[1].end());
    }
    EXPECT_FALSE(fader.dryPending);
    // Out = (1 - g) dry(n - 100) + g: the impulse comes out 100 samples late.
    for (int n = 0; n < 192; ++n) {
        const double g = 1.0 / (1.0 + std::exp(5.0 - 10.0 * n / 480.0));
        ASSERT_NEAR(heard[n], (1 - g) * (n == 100 ? 1.0 : 0.0) + g, 1e-5) << n;
    }
    fader.reset();
    EXPECT_TRUE(fader.dryPending);
}

} // namespace
