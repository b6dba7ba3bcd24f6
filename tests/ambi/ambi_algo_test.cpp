// The ambisonic algorithm frame through Ambi2AmbiAlgo: the focus stage heard
// through a plain sampling decoder, the order of the rotation and focus stages,
// order changes between input and output, refused configurations, the
// interfaces reached through the FObject base, and a block path that allocates
// nothing.
#include "ambi/ambi2ambi_algo.h"
#include "ambi/ambi_interfaces.h"
#include "ambi/tdesign_240.h"
#include "dsp/tool/math/spherical_harmonics.h"
#include "tests/ambi/planar_block.h"
#include "tests/support/ambisonic_reference.h"
#include "tests/support/rt_guard.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <vector>

namespace AmbiBin = Tannhofen::AmbiBin;
namespace Plx = Tannhofen::Plx;
namespace Ref = AmbiReference;

namespace {

uint32_t channelsOf(int order) {
    return uint32_t((order + 1) * (order + 1));
}

template <class T>
void configure(AmbiBin::AmbiAlgo<T>& algo, int order, uint32_t outputs, uint32_t block) {
    ASSERT_TRUE(algo.setOrder(uint32_t(order)));
    ASSERT_EQ(algo.setChannels(channelsOf(order), outputs), 0);
    algo.setBlockSize(block);
    algo.collectBlockSize = block;
    algo.setSampleRate(T(48000));
    ASSERT_EQ(algo.init(), AmbiBin::AmbiAlgo<T>::kInitDone);
    algo.reset();
}

// A plane wave from v carrying the signal s, encoded at `order`.
template <class T>
PlanarBlock<T> planeWave(const Ref::Vec3& v, int order, const std::vector<T>& s) {
    const auto y = Ref::harmonics(v, order);
    PlanarBlock<T> b(channelsOf(order), uint32_t(s.size()));
    for (size_t c = 0; c < y.size(); ++c)
        for (size_t f = 0; f < s.size(); ++f) b.data[c][f] = T(y[c] * double(s[f]));
    return b;
}

// The RMS level of a plain sampling decoder (band l weighted 2l + 1) looking at v.
template <class T>
double levelAt(const Ref::Vec3& v, int order, PlanarBlock<T>& x) {
    const auto y = Ref::harmonics(v, order);
    double power = 0;
    const size_t frames = x.data[0].size();
    for (size_t f = 0; f < frames; ++f) {
        double g = 0;
        for (int c = 0; c < int(y.size()); ++c)
            g += (2 * int(std::sqrt(c)) + 1) * y[c] * double(x.data[c][f]);
        power += g * g;
    }
    return std::sqrt(power / double(frames));
}

// How much louder a plane wave from the focus direction comes out than one
// from the opposite side, each decoded at its own direction.
double focusLift(int order, double attenuation) {
    const uint32_t n = channelsOf(order), frames = 256;
    AmbiBin::Ambi2AmbiAlgo<float> algo{int32_t(n)};
    configure(algo, order, n, frames);
    algo.focusOn = 1;
    const double vAzimuth = 0.5 - 30.0 / 360, vElevation = 0.5 + 20.0 / 180; // 30 degrees left, 20 up
    algo.setFocusAzimuth(vAzimuth);
    algo.setFocusElevation(vElevation);
    algo.setFocusSize(0.333);
    algo.setFocusAttenuation(attenuation);
    const auto toward = Ref::direction(30, 20), away = Ref::direction(-150, -20);
    const auto s = randomVector<float>(frames, 4);
    double levels[2];
    int k = 0;
    for (const auto& v : {toward, away}) {
        auto in = planeWave(v, order, s);
        PlanarBlock<float> out(n, frames);
        algo.processBlock(in.p(), out.p(), frames);
        levels[k++] = levelAt(v, order, out) / levelAt(v, order, in);
    }
    return levels[0] / levels[1];
}

TEST(AmbiFocus, LiftsTheFocusRegionMoreWithOrderAndAttenuation) {
    const double order1Mild = focusLift(1, 0.5), order1Full = focusLift(1, 0.0);
    const double order3Mild = focusLift(3, 0.5), order3Full = focusLift(3, 0.0);
    EXPECT_NEAR(focusLift(1, 1.0), 1.0, 1e-4);
    EXPECT_NEAR(focusLift(3, 1.0), 1.0, 1e-4);
    EXPECT_GT(order1Mild, 1.1);
    EXPECT_GT(order1Full, order1Mild * 1.1);
    EXPECT_GT(order3Mild, order1Mild * 1.1);
    EXPECT_GT(order3Full, order1Full * 1.1);
    std::printf("focus lift, order 1: %.3f (attenuation 0.5625), %.3f (0.125); order 3: %.3f, %.3f\n",
                order1Mild, order1Full, order3Mild, order3Full);
}

TEST(AmbiFocus, DirectionFollowsTheAzimuthParameter) {
    // v = 0.25 is +90 degrees: the left is lifted against the right; v = 0.75 the right.
    const uint32_t n = 16, frames = 128;
    const auto s = randomVector<double>(frames, 8);
    for (double v : {0.25, 0.75}) {
        AmbiBin::Ambi2AmbiAlgo<double> algo{int32_t(n)};
        configure(algo, 3, n, frames);
        algo.focusOn = 1;
        algo.setFocusAzimuth(v);
        algo.setFocusElevation(0.5);
        algo.setFocusSize(0);
        algo.setFocusAttenuation(0);
        double level[2];
        int k = 0;
        for (const auto& d : {Ref::direction(90, 0), Ref::direction(-90, 0)}) {
            auto in = planeWave(d, 3, s);
            PlanarBlock<double> out(n, frames);
            algo.processBlock(in.p(), out.p(), frames);
            level[k++] = levelAt(d, 3, out);
        }
        const double leftOverRight = level[0] / level[1];
        EXPECT_GT(v < 0.5 ? leftOverRight : 1 / leftOverRight, 1.5) << v;
    }
}

template <class T>
class AmbiFrame : public ::testing::Test {};
using SampleTypes = ::testing::Types<float, double>;
TYPED_TEST_SUITE(AmbiFrame, SampleTypes);

TYPED_TEST(AmbiFrame, FullAttenuationValueIsTheIdentity) {
    using T = TypeParam;
    for (double follow : {0.0, 1.0}) {
        AmbiBin::Ambi2AmbiAlgo<T> algo(16);
        configure(algo, 3, 16, 64);
        algo.focusOn = 1;
        algo.focusFollow = follow;
        algo.setFocusAzimuth(0.8);
        algo.setFocusElevation(0.3);
        algo.setFocusSize(0.6);
        algo.setFocusAttenuation(1);
        auto x = randomBlock<T>(16, 64, 2);
        PlanarBlock<T> y(16, 64);
        algo.processBlock(x.p(), y.p(), 64);
        for (uint32_t c = 0; c < 16; ++c)
            for (uint32_t f = 0; f < 64; ++f) ASSERT_NEAR(y.data[c][f], x.data[c][f], 1e-5) << c << " " << f;
    }
}

// With the head turned (angles held), the three stage orders give R x, F R x
// and R F x, with R the rotation and F the focus transform.
TYPED_TEST(AmbiFrame, StageOrdersDifferAsTheHeadTurns) {
    using T = TypeParam;
    const uint32_t n = 9, frames = 32;
    auto x = randomBlock<T>(n, frames, 6);
    std::vector<std::vector<std::vector<double>>> outputs;
    for (int mode = 0; mode < 3; ++mode) {
        AmbiBin::Ambi2AmbiAlgo<T> algo{int32_t(n)};
        configure(algo, 2, n, frames);
        algo.focusOn = mode == 0 ? 0 : 1;
        algo.focusFollow = mode == 1 ? 1 : 0;
        algo.setFocusAzimuth(0.4);
        algo.setFocusElevation(0.6);
        algo.setFocusSize(0.2);
        algo.setFocusAttenuation(0.1);
        algo.rotation.setYaw(0.2);
        algo.rotation.setPitch(0.65);
        algo.rotation.setRoll(0.4);
        PlanarBlock<T> y(n, frames);
        algo.processBlock(x.p(), y.p(), frames); // the turn fades in
        algo.processBlock(x.p(), y.p(), frames);
        // The matrices in force, and the product in the expected order.
        std::vector<std::vector<double>> r(n, std::vector<double>(n)), fm = r;
        for (uint32_t i = 0; i < n; ++i)
            for (uint32_t j = 0; j < n; ++j) {
                r[i][j] = double(algo.rotation.rotation.at(i, j));
                fm[i][j] = double(algo.focus->transform.at(i, j));
            }
        const auto apply = [&](const std::vector<std::vector<double>>& m, const std::vector<double>& v) {
            std::vector<double> out(n, 0.0);
            for (uint32_t i = 0; i < n; ++i)
                for (uint32_t j = 0; j < n; ++j) out[i] += m[i][j] * v[j];
            return out;
        };
        std::vector<std::vector<double>> got(frames, std::vector<double>(n));
        for (uint32_t f = 0; f < frames; ++f) {
            std::vector<double> v(n);
            for (uint32_t c = 0; c < n; ++c) v[c] = double(x.data[c][f]);
            const auto expected = mode == 0   ? apply(r, v)
                                  : mode == 1 ? apply(fm, apply(r, v))
                                              : apply(r, apply(fm, v));
            for (uint32_t c = 0; c < n; ++c) {
                got[f][c] = double(y.data[c][f]);
                ASSERT_NEAR(got[f][c], expected[c], 1e-5) << "mode " << mode << " frame " << f;
            }
        }
        outputs.push_back(got);
    }
    double followVersusFixed = 0, focusVersusNone = 0;
    for (uint32_t f = 0; f < frames; ++f)
        for (uint32_t c = 0; c < n; ++c) {
            followVersusFixed = std::max(followVersusFixed, std::fabs(outputs[1][f][c] - outputs[2][f][c]));
            focusVersusNone = std::max(focusVersusNone, std::fabs(outputs[1][f][c] - outputs[0][f][c]));
        }
    EXPECT_GT(followVersusFixed, 0.05);
    EXPECT_GT(focusVersusNone, 0.05);
}

TYPED_TEST(AmbiFrame, OrdersBetweenInputAndOutputAndTheCollectorPath) {
    using T = TypeParam;
    const uint32_t frames = 48;
    auto x = randomBlock<T>(16, frames, 12);
    // Equal orders pass exactly at rest; a lower-order input fills the rest
    // with silence; a higher-order input keeps its first channels.
    for (auto [inOrder, outputs] :
         {std::pair{3, 16u}, std::pair{1, 16u}, std::pair{1, 9u}, std::pair{3, 4u}}) {
        AmbiBin::Ambi2AmbiAlgo<T> algo{int32_t(outputs)};
        configure(algo, inOrder, outputs, frames);
        PlanarBlock<T> y(outputs, frames);
        for (auto& ch : y.data) ch.assign(frames, T(5));
        algo.processBlock(x.p(), y.p(), frames);
        for (uint32_t c = 0; c < outputs; ++c)
            EXPECT_EQ(y.data[c], c < channelsOf(inOrder) ? x.data[c] : std::vector<T>(frames, T(0))) << c;
    }

    // Through the collector the same signal comes one collector block later.
    AmbiBin::Ambi2AmbiAlgo<T> algo(9);
    configure(algo, 1, 9, 16);
    PlanarBlock<T> y(9, frames);
    algo.process(x.p(), y.p(), frames);
    for (uint32_t c = 0; c < 9; ++c)
        for (uint32_t f = 0; f < frames; ++f)
            ASSERT_EQ(y.data[c][f], c < 4 && f >= 16 ? x.data[c][f - 16] : T(0)) << c << " " << f;
    EXPECT_EQ(algo.getLatency(), 0u);
    EXPECT_FALSE(algo.isActive());
}

TYPED_TEST(AmbiFrame, RefusesChannelCountsAtConfigurationAndStaysSilent) {
    using T = TypeParam;
    AmbiBin::Ambi2AmbiAlgo<T> algo(4);
    EXPECT_EQ(algo.setChannels(5, 4), 1);
    EXPECT_EQ(algo.setChannels(4, 2), 1);
    EXPECT_EQ(algo.setChannels(4, 4), 0);
    EXPECT_EQ(algo.inputChannels, 4u);
    EXPECT_FALSE(algo.setOrder(4));
    EXPECT_FALSE(algo.setOrder(0));
    ASSERT_TRUE(algo.setOrder(2)); // 9 channels, but 4 are set
    algo.setBlockSize(32);
    EXPECT_EQ(algo.init(), AmbiBin::AmbiAlgo<T>::kInitRefused);
    EXPECT_FALSE(algo.setFocusAzimuth(0.3)); // no focus without init
    algo.reset();
    auto x = randomBlock<T>(4, 32, 1);
    PlanarBlock<T> y(4, 32);
    y.data[0].assign(32, T(3));
    algo.processBlock(x.p(), y.p(), 32);
    algo.process(x.p(), y.p(), 32);
    EXPECT_EQ(y.data[0], std::vector<T>(32, T(0)));

    // Bad focus values keep the transform finite; a block of 0 frames does nothing.
    ASSERT_TRUE(algo.setOrder(1));
    ASSERT_EQ(algo.init(), AmbiBin::AmbiAlgo<T>::kInitDone);
    algo.reset();
    algo.focusOn = 1;
    EXPECT_FALSE(algo.setFocusSize(std::nan("")));
    EXPECT_TRUE(algo.setFocusAttenuation(-3));
    EXPECT_TRUE(algo.setFocusAzimuth(1e300));
    EXPECT_FLOAT_EQ(algo.focus->attenuation, 0.125f);
    EXPECT_FLOAT_EQ(algo.focus->azimuth, -180.0f);
    y.data[0].assign(32, T(3));
    algo.processBlock(x.p(), y.p(), 0);
    EXPECT_EQ(y.data[0][0], T(3));
    algo.processBlock(x.p(), y.p(), 32);
    for (uint32_t i = 0; i < 16; ++i) ASSERT_TRUE(std::isfinite(double(algo.focus->transform.data[i])));
    EXPECT_EQ(algo.release(), 1);
}

// A speaker algorithm's stand-in: what a derived algorithm does to offer an interface.
class SpeakerStandIn : public AmbiBin::AmbiAlgo<float>,
                       public AmbiBin::FObjectInterface<AmbiBin::IAmbiSpeakerAlgo, SpeakerStandIn> {
public:
    SpeakerStandIn() : AmbiAlgo<float>(6, kSpeaker) {}
    void processBlock(float**, float**, uint32_t) override {}
    void setLfeGain(double gain) override { lfeGain = gain; }
    void setLfeLowPass(bool on) override { lfeLowPass = on; }
    double lfeGain = 0;
    bool lfeLowPass = false;

protected:
    void* ambiInterface(const Plx::TUID& iid) override {
        return Plx::equalTUID(iid, AmbiBin::IAmbiSpeakerAlgo::iid)
                   ? static_cast<AmbiBin::IAmbiSpeakerAlgo*>(this)
                   : nullptr;
    }
};

TEST(AmbiFrameInterfaces, ReachedThroughTheFObjectBase) {
    EXPECT_EQ(Plx::makeTUID(0x1F557355, 0xFE493C92, 0xDCA32299, 0x86781301), AmbiBin::IAmbiBin::iid);
    auto* speaker = new SpeakerStandIn;
    Plx::FObject* object = speaker;
    EXPECT_TRUE(object->isTypeOf("AmbiAlgo"));
    auto* lfe = Plx::queryInterfaceOf<AmbiBin::IAmbiSpeakerAlgo>(object);
    ASSERT_NE(lfe, nullptr);
    EXPECT_EQ(object->getRefCount(), 2);
    lfe->setLfeGain(0.5);
    lfe->setLfeLowPass(true);
    EXPECT_EQ(speaker->lfeGain, 0.5);
    EXPECT_TRUE(speaker->lfeLowPass);
    EXPECT_EQ(Plx::queryInterfaceOf<AmbiBin::IAmbiBin>(lfe), nullptr);
    EXPECT_EQ(lfe->release(), 1u);

    AmbiBin::Ambi2AmbiAlgo<double> ambi(4);
    EXPECT_STREQ(ambi.getClassName(), "Ambi2AmbiAlgo");
    EXPECT_TRUE(ambi.isTypeOf("AmbiAlgo"));
    EXPECT_EQ(Plx::queryInterfaceOf<AmbiBin::IAmbiSpeakerAlgo>(static_cast<Plx::FObject*>(&ambi)), nullptr);
    EXPECT_EQ(object->release(), 0u); // the last reference destroys it
}

TEST(AmbiFrameDesign, TableIsASphericalDesignAsListed) {
    // Read as (elevation, azimuth), the mean of every harmonic of orders 1 to 3 vanishes.
    double mean[16] = {};
    for (uint32_t i = 0; i < AmbiBin::kFocusDesignPoints; ++i) {
        const auto y =
            Ref::harmonics(Ref::direction(AmbiBin::kFocusDesign[i][1], AmbiBin::kFocusDesign[i][0]), 3);
        for (int c = 0; c < 16; ++c) mean[c] += y[c] / AmbiBin::kFocusDesignPoints;
    }
    for (int c = 1; c < 16; ++c) EXPECT_NEAR(mean[c], 0.0, 1e-6) << c;
}

TEST(AmbiFrameRealTime, BlocksAllocateNothing) {
    if (!RtGuard::available()) GTEST_SKIP() << "the guard is compiled out under the sanitizers";
    AmbiBin::Ambi2AmbiAlgo<float> algo(16);
    configure(algo, 3, 16, 512);
    auto x = randomBlock<float>(16, 512, 3);
    PlanarBlock<float> y(16, 512);
    RtGuard::arm();
    for (int k = 0; k < 8; ++k) {
        algo.focusOn = k >= 4 ? 1 : 0;
        algo.focusFollow = k % 2;
        algo.setFocusAzimuth(0.1 * k);
        algo.setFocusElevation(0.5);
        algo.setFocusSize(0.5);
        algo.setFocusAttenuation(0.2);
        if (k % 3 != 0) algo.rotation.setYaw(0.05 * k); // rest, changes and held angles
        algo.processBlock(x.p(), y.p(), 512);
        algo.process(x.p(), y.p(), 300);
    }
    const auto counts = RtGuard::disarm();
    EXPECT_EQ(counts.allocations, 0);
    EXPECT_EQ(counts.locks, 0);
}

} // namespace
