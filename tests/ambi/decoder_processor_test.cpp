// SphereDecoder's processor through the module's exports: buses and the
// arrangement rules, the ambisonic path end to end with rotation and focus,
// meters, messages both ways, state of every version, and blocks that a host
// may send: any size, any rate, both sample sizes, samples that aren't numbers.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "ambi/ambi_messages.h"
#include "ambi/ambi_params.h"
#include "ambi/decoder_arrangements.h"
#include "frame/igraphlocation.h"
#include "frame/speaker_arrangement.h"
#include "tests/ambi/decoder_rig.h"
#include "tests/support/ambisonic_reference.h"

using namespace DecoderTest;
namespace Layout = Tannhofen::Plx::Layout;
namespace Msg = Tannhofen::AmbiBin::Msg;
namespace ParamId = Tannhofen::AmbiBin::ParamId;
namespace ControlId = Tannhofen::AmbiBin::ControlId;
namespace Ref = AmbiReference;

namespace {

// A plane wave from (azimuth, elevation) carrying noise, encoded at `order`.
template <class T>
PlanarBlock<T> planeWave(double azimuth, double elevation, int order, uint32_t frames, unsigned seed) {
    const auto y = Ref::harmonics(Ref::direction(azimuth, elevation), order);
    const auto s = randomVector<T>(frames, seed);
    PlanarBlock<T> b(uint32_t(y.size()), frames);
    for (size_t c = 0; c < y.size(); ++c)
        for (uint32_t f = 0; f < frames; ++f) b.data[c][f] = T(y[c] * double(s[f]));
    return b;
}

// A running decoder: `in` to `out`, started at `rate` with blocks of `block`.
void run(DecoderRig& rig, SpeakerArrangement in, SpeakerArrangement out, int block = 256, double rate = 48000,
         int size = Plx::kSample32) {
    ASSERT_EQ(rig.setup(rate, block, size), Plx::kResultOk);
    rig.arrange(in, out);
    ASSERT_EQ(rig.start(), Plx::kResultOk);
}

template <class T>
double maxDifference(const PlanarBlock<T>& a, const PlanarBlock<T>& b, uint32_t channels, uint32_t frames) {
    double d = 0;
    for (uint32_t c = 0; c < channels; ++c)
        for (uint32_t f = 0; f < frames; ++f)
            d = std::max(d, std::fabs(double(a.data[c][f]) - double(b.data[c][f])));
    return d;
}

} // namespace

TEST(DecoderBuses, ThreeBusesAndTheArrangementRules) {
    DecoderRig rig;
    Plx::BusInfo info{};
    ASSERT_EQ(rig.component->getBusInfo(Plx::kAudio, Plx::kInput, 0, &info), Plx::kResultOk);
    EXPECT_EQ(std::u16string(info.name), u"Ambi In");
    EXPECT_EQ(info.channelCount, 4);
    ASSERT_EQ(rig.component->getBusInfo(Plx::kAudio, Plx::kInput, 1, &info), Plx::kResultOk);
    EXPECT_EQ(std::u16string(info.name), u"Aux In");
    EXPECT_EQ(info.busType, Plx::kAux);
    ASSERT_EQ(rig.component->getBusInfo(Plx::kAudio, Plx::kOutput, 0, &info), Plx::kResultOk);
    EXPECT_EQ(std::u16string(info.name), u"Stereo Out");
    EXPECT_EQ(info.channelCount, 2);
    EXPECT_EQ(rig.processor->canProcessSampleSize(Plx::kSample64), Plx::kResultOk);

    // Every named arrangement as the output of a first-order input: the
    // decoder's fourteen are taken, all others are not compatible.
    ASSERT_EQ(rig.setup(48000, 64), Plx::kResultOk);
    for (int i = 0; i < Plx::kArrangementCount; ++i) {
        const SpeakerArrangement out = Plx::kArrangements[i].mask;
        rig.messages.clear();
        rig.arrange(Layout::kAmbi1, out);
        rig.start();
        const Seen* type = rig.last(Msg::kChangedAlgoType);
        ASSERT_NE(type, nullptr) << Plx::kArrangements[i].shortName;
        const int64_t expected = !AmbiBin::isDecoderOutput(out)         ? 4
                                 : out == Layout::kStereo               ? 1
                                 : AmbiBin::isAmbisonicArrangement(out) ? 3
                                                                        : 2;
        EXPECT_EQ(type->ints.at(Msg::kChangedAlgoType), expected) << Plx::kArrangements[i].shortName;
        rig.stop();
    }
    // A speaker layout as input is not compatible either, and the output is silent.
    rig.messages.clear();
    EXPECT_EQ(rig.arrange(Layout::k5_1, Layout::kAmbi1), Plx::kResultFalse); // refused, yet kept
    EXPECT_EQ(rig.bus(Plx::kInput), Layout::k5_1);
    rig.start();
    EXPECT_EQ(rig.last(Msg::kChangedAlgoType)->ints.at(Msg::kChangedAlgoType), 4);
    PlanarBlock<float> in = randomBlock<float>(6, 64, 1), out = randomBlock<float>(4, 64, 2);
    EXPECT_EQ(rig.process(in, out, 64), Plx::kResultFalse);
    for (const auto& channel : out.data)
        for (float x : channel) ASSERT_EQ(x, 0.0f);
    rig.stop();

    // Arrangements change only with the stream stopped.
    rig.arrange(Layout::kAmbi1, Layout::kAmbi1);
    rig.start();
    EXPECT_EQ(rig.arrange(Layout::kAmbi2, Layout::kAmbi2), Plx::kResultFalse);
    EXPECT_EQ(rig.bus(Plx::kInput), Layout::kAmbi1);
}

TEST(DecoderBuses, OfflinePlainMasksAreAmbisonicOrders) {
    DecoderRig rig;
    // An offline renderer passes 16 plain channels on both sides: third order.
    ASSERT_EQ(rig.setup(48000, 128, Plx::kSample32, Plx::kOffline), Plx::kResultOk);
    EXPECT_EQ(rig.arrange(0xFFFF, 0xFFFF), Plx::kResultOk);
    EXPECT_EQ(rig.bus(Plx::kInput), Layout::kAmbi3);
    EXPECT_EQ(rig.bus(Plx::kOutput), Layout::kAmbi3);
    const Seen* conf = rig.last(Msg::kChangeSpeakerConf);
    ASSERT_NE(conf, nullptr);
    SpeakerArrangement sent = 0;
    std::memcpy(&sent, conf->blobs.at("input").data(), 8);
    EXPECT_EQ(sent, Layout::kAmbi3);
    // In real time the same masks are no ambisonic arrangement.
    DecoderRig live;
    ASSERT_EQ(live.setup(48000, 128), Plx::kResultOk);
    live.arrange(0xFFFF, 0xFFFF);
    live.start();
    EXPECT_EQ(live.last(Msg::kChangedAlgoType)->ints.at(Msg::kChangedAlgoType), 4);
}

TEST(DecoderAmbisonicPath, CopiesRotatesAndFillsHigherOrdersWithSilence) {
    // First order in, third order out: channels 0 to 3 pass unchanged at rest,
    // the twelve above are silent, for both sample sizes.
    for (int size : {Plx::kSample32, Plx::kSample64}) {
        DecoderRig rig;
        run(rig, Layout::kAmbi1, Layout::kAmbi3, 256, 48000, size);
        EXPECT_EQ(rig.latency(), 0u);
        auto check = [&](auto zero) {
            using T = decltype(zero);
            PlanarBlock<T> in = randomBlock<T>(4, 256, 3), out = randomBlock<T>(16, 256, 4);
            ASSERT_EQ(rig.process(in, out, 256), Plx::kResultOk);
            EXPECT_EQ(maxDifference(in, out, 4, 256), 0.0);
            for (int c = 4; c < 16; ++c)
                for (T x : out.data[c]) ASSERT_EQ(x, T(0));
        };
        if (size == Plx::kSample32)
            check(0.0f);
        else
            check(0.0);
    }

    // A yaw of +-90 degrees turns a source from the front to the sides, the
    // two signs to opposite sides; the output stays a plane wave of the
    // input's signal, and the height is kept.
    DecoderRig rig;
    run(rig, Layout::kAmbi3, Layout::kAmbi3, 512);
    double turned[2] = {};
    for (int s = 0; s < 2; ++s) {
        rig.changes->addChange(ParamId::kYaw, 0, yawValue(s == 0 ? 90 : -90));
        PlanarBlock<float> in = planeWave<float>(0, 20, 3, 512, 7), out(16, 512);
        rig.process(in, out, 512); // the turn fades in over this block
        rig.process(in, out, 512);
        // Where the turned wave comes from: the first-order vector (X, Y, Z).
        const double x = out.data[3][100] / in.data[0][100], y = out.data[1][100] / in.data[0][100],
                     z = out.data[2][100] / in.data[0][100];
        turned[s] = std::atan2(y, x) * 180 / M_PI;
        EXPECT_NEAR(z, std::sin(20 * M_PI / 180), 1e-5);
        const auto expected = Ref::harmonics(Ref::direction(turned[s], 20), 3);
        for (int c = 0; c < 16; ++c)
            for (int f = 0; f < 512; f += 37)
                ASSERT_NEAR(out.data[c][f], expected[c] * in.data[0][f], 2e-5) << c;
    }
    EXPECT_NEAR(std::fabs(turned[0]), 90, 1e-3);
    EXPECT_NEAR(turned[0], -turned[1], 1e-3);

    // A pitch of 90 degrees lifts a source in front straight up or down, a
    // roll of 90 degrees one on the left.
    const struct {
        Plx::ParamID id;
        double value, azimuth;
    } turns[] = {{ParamId::kPitch, 1.0, 0}, {ParamId::kRoll, 0.25, 90}};
    for (const auto& t : turns) {
        DecoderRig tilted;
        run(tilted, Layout::kAmbi1, Layout::kAmbi1, 256);
        tilted.changes->addChange(t.id, 0, t.value);
        PlanarBlock<float> in = planeWave<float>(t.azimuth, 0, 1, 256, 8), out(4, 256);
        tilted.process(in, out, 256);
        tilted.process(in, out, 256);
        EXPECT_NEAR(std::fabs(out.data[2][50] / in.data[0][50]), 1.0, 1e-5) << t.id;
    }
}

TEST(DecoderAmbisonicPath, FocusReachesTheAlgorithmOnlyWhenOn) {
    DecoderRig rig;
    run(rig, Layout::kAmbi3, Layout::kAmbi3, 512);
    PlanarBlock<float> front = planeWave<float>(0, 0, 3, 512, 11),
                       back = planeWave<float>(180, 0, 3, 512, 11);
    // Focus settings without the switch change nothing.
    rig.changes->addChange(ParamId::kFocusAttenuation, 0, 0.0);
    rig.changes->addChange(ParamId::kFocusSize, 0, 0.0);
    PlanarBlock<float> out(16, 512);
    rig.process(back, out, 512);
    EXPECT_EQ(maxDifference(back, out, 16, 512), 0.0);
    // Focused ahead, a source in front keeps several times the level of one
    // behind; turned to the back (azimuth value 0 is 180 degrees), the reverse.
    auto gains = [&](double azimuthValue) {
        rig.changes->addChange(ParamId::kFocusOn, 0, 1.0);
        rig.changes->addChange(ParamId::kFocusAzimuth, 0, azimuthValue);
        rig.process(front, out, 512);
        const double f = out.data[0][200] / front.data[0][200];
        rig.process(back, out, 512);
        return std::pair(f, out.data[0][200] / back.data[0][200]);
    };
    const auto [frontAhead, backAhead] = gains(0.5);
    EXPECT_GT(frontAhead, 4 * backAhead);
    EXPECT_LT(backAhead, 0.125 + 1e-6); // never above the attenuation outside the region
    const auto [frontBehind, backBehind] = gains(0.0);
    EXPECT_NEAR(backBehind, frontAhead, 1e-4);
    EXPECT_NEAR(frontBehind, backAhead, 1e-4);
}

TEST(DecoderMeters, PeaksEvery20MillisecondsThenReset) {
    DecoderRig rig;
    run(rig, Layout::kAmbi1, Layout::kAmbi1, 64, 48000);
    // 48000 / 50 = 960 frames: every 15th block of 64.
    PlanarBlock<float> in(4, 64), out(4, 64);
    const float level[4] = {0.5f, -0.25f, 0.125f, 0.75f};
    for (int c = 0; c < 4; ++c) in.data[c].assign(64, 0.0f), in.data[c][10] = level[c];
    std::vector<int> sentAt;
    for (int block = 1; block <= 45; ++block) {
        PlanarBlock<float> input = block <= 15 ? in : PlanarBlock<float>(4, 64); // then silence
        rig.process(input, out, 64);
        Plx::ParamValue v = 0;
        if (!rig.outChanges->lastValue(ParamId::kOutputMeterMax, &v)) continue;
        sentAt.push_back(block);
        Plx::ParamValue peak = 0;
        for (int c = 0; c < 4; ++c) {
            ASSERT_TRUE(rig.outChanges->lastValue(ParamId::kInputMeterFirst + c, &peak));
            EXPECT_FLOAT_EQ(peak, block == 15 ? std::fabs(level[c]) : 0.0f) << block;
            ASSERT_TRUE(rig.outChanges->lastValue(ParamId::kOutputMeterFirst + c, &peak));
            EXPECT_FLOAT_EQ(peak, block == 15 ? std::fabs(level[c]) : 0.0f) << block;
        }
        EXPECT_FLOAT_EQ(v, block == 15 ? 0.75f : 0.0f);
        ASSERT_TRUE(rig.outChanges->lastValue(ParamId::kInputMeterMax, &v));
        EXPECT_FLOAT_EQ(v, block == 15 ? 0.75f : 0.0f);
        EXPECT_FALSE(rig.outChanges->lastValue(ParamId::kInputMeterFirst + 4, &peak));
    }
    EXPECT_EQ(sentAt, (std::vector<int>{15, 30, 45}));
}

TEST(DecoderMessages, StoredForTheRestartAndProfileCallsReturned) {
    DecoderRig rig({.controller = false});
    ASSERT_EQ(rig.setup(48000, 128), Plx::kResultOk);
    rig.arrange(Layout::kAmbi3, Layout::kAmbi3);

    // The profile service's calls go back to the peer as they came.
    for (const char* id : Msg::kProfileCallbacks) {
        rig.messages.clear();
        EXPECT_EQ(rig.sendId(id), Plx::kResultFalse); // the peer here answers nothing
        ASSERT_EQ(rig.messages.size(), 1u);
        EXPECT_EQ(rig.messages[0].id, id);
    }
    auto graph = [&](int32_t location, int32_t position) {
        IPtr<Plx::IGraphLocation> g =
            IPtr<Plx::IGraphLocation>::adopt(Plx::queryInterfaceOf<Plx::IGraphLocation>(rig.component.get()));
        ASSERT_TRUE(g);
        g->setGraphLocation(location, position);
    };
    graph(9, 4);
    EXPECT_EQ(rig.last(Msg::kGraphLocation)->ints.at(Msg::kUsedAsPanner), 1);
    EXPECT_EQ(rig.last(Msg::kGraphLocation)->ints.at(Msg::kUsedInControlRoom), 1);
    graph(2, 0);
    EXPECT_EQ(rig.last(Msg::kGraphLocation)->ints.at(Msg::kUsedInControlRoom), 0);

    // A requested output takes effect at once while stopped; a wrong size or
    // an arrangement the decoder doesn't take is refused.
    SpeakerArrangement request = Layout::k7_1_4;
    EXPECT_EQ(rig.sendBinary(Msg::kRequestedOutputArrangement, Msg::kBinary, &request, 4), Plx::kResultFalse);
    request = Layout::k7_1Cine;
    EXPECT_EQ(rig.sendBinary(Msg::kRequestedOutputArrangement, Msg::kBinary, &request, 8), Plx::kResultFalse);
    request = Layout::k7_1_4;
    EXPECT_EQ(rig.sendBinary(Msg::kRequestedOutputArrangement, Msg::kBinary, &request, 8), Plx::kResultOk);
    EXPECT_EQ(rig.bus(Plx::kOutput), Layout::k7_1_4);
    Plx::BusInfo info{};
    rig.component->getBusInfo(Plx::kAudio, Plx::kOutput, 0, &info);
    EXPECT_EQ(std::u16string(info.name), u"Output");
    // While running, the bus waits for the stream to stop.
    rig.arrange(Layout::kAmbi3, Layout::kAmbi3);
    rig.start();
    request = Layout::k5_1;
    EXPECT_EQ(rig.sendBinary(Msg::kRequestedOutputArrangement, Msg::kBinary, &request, 8), Plx::kResultOk);
    EXPECT_EQ(rig.bus(Plx::kOutput), Layout::kAmbi3);
    rig.stop();
    EXPECT_EQ(rig.bus(Plx::kOutput), Layout::k5_1);

    // SOFA names: at most 2048 bytes with the end, whole UTF-16, and short
    // enough for the saved state; anything else leaves the name as it was.
    auto savedName = [&] {
        const auto bytes = rig.saveState();
        int32_t length = 0;
        std::memcpy(&length, bytes.data() + 36, 4);
        return length;
    };
    EXPECT_EQ(rig.sendString(Msg::kSofaFileChanged, Msg::kFilename, u"/data/kemar.sofa"), Plx::kResultOk);
    EXPECT_EQ(savedName(), 16);
    for (const std::u16string& bad : {std::u16string(1024, u'a'), std::u16string(u"bad\xD800name.sofa"),
                                      std::u16string(u"bad\xDC00.sofa"), std::u16string(600, u'\u00E9')}) {
        EXPECT_EQ(rig.sendString(Msg::kSofaFileChanged, Msg::kFilename, bad), Plx::kResultFalse);
        EXPECT_EQ(savedName(), 16);
    }
    EXPECT_EQ(rig.sendString(Msg::kSofaFileChanged, Msg::kFilename, std::u16string(1000, u'b')),
              Plx::kResultOk);
    EXPECT_EQ(savedName(), 1000);
    EXPECT_EQ(rig.sendInt(Msg::kHrirModeChanged, Msg::kHrirModeChanged, 9), Plx::kResultFalse);
}

TEST(DecoderMessages, OrderNeverAboveTheInputs) {
    DecoderRig rig;
    run(rig, Layout::kAmbi2, Layout::kAmbi2);
    rig.stop();
    auto savedOrder = [&] {
        const auto bytes = rig.saveState();
        return int(bytes[4]);
    };
    rig.sendInt(Msg::kChangeOrder, Msg::kOrder, 3);
    EXPECT_EQ(savedOrder(), 2);
    rig.sendInt(Msg::kChangeOrder, Msg::kOrder, -4);
    EXPECT_EQ(savedOrder(), 1);
    // A lower order decodes fewer channels than the bus carries: the
    // ambisonic output of the bus's own order then can't be served.
    rig.start();
    PlanarBlock<float> in = randomBlock<float>(9, 64, 5), out = randomBlock<float>(9, 64, 6);
    EXPECT_EQ(rig.process(in, out, 64), Plx::kResultFalse);
    for (const auto& channel : out.data)
        for (float x : channel) ASSERT_EQ(x, 0.0f);
}

TEST(DecoderBlocks, AnySizeAnyRateAndNoNumbersInTheInput) {
    for (double rate : {8000.0, 44100.0, 384000.0})
        for (int block : {1, 7, 1000, 8192}) {
            DecoderRig rig;
            run(rig, Layout::kAmbi2, Layout::kAmbi2, block, rate);
            PlanarBlock<float> in = randomBlock<float>(9, uint32_t(block), 9), out(9, uint32_t(block));
            ASSERT_EQ(rig.process(in, out, uint32_t(block)), Plx::kResultOk) << rate << " " << block;
            EXPECT_EQ(maxDifference(in, out, 9, uint32_t(block)), 0.0);
            // Fewer frames than the block, and more than the host set up for.
            ASSERT_EQ(rig.process(in, out, uint32_t(block + 1) / 2), Plx::kResultOk);
            PlanarBlock<float> big = randomBlock<float>(9, uint32_t(block) + 1, 9),
                               bigOut(9, uint32_t(block) + 1);
            EXPECT_EQ(rig.process(big, bigOut, uint32_t(block) + 1), Plx::kInvalidArgument);
        }

    // Binaurally too: the sets are resampled to the rate, the collector takes
    // any block, and the ears hear the scene once the latency has passed.
    for (double rate : {8000.0, 44100.0, 384000.0})
        for (int block : {1, 1000, 8192}) {
            DecoderRig rig;
            run(rig, Layout::kAmbi1, Layout::kStereo, block, rate);
            const uint32_t frames = uint32_t(block);
            const int blocks = int(rig.latency() / frames) + 2;
            double energy = 0;
            for (int b = 0; b < blocks; ++b) {
                PlanarBlock<float> in = randomBlock<float>(4, frames, unsigned(b)), out(2, frames);
                ASSERT_EQ(rig.process(in, out, frames), Plx::kResultOk) << rate << " " << block;
                for (const auto& channel : out.data)
                    for (float x : channel) {
                        ASSERT_TRUE(std::isfinite(x));
                        energy += double(x) * x;
                    }
            }
            EXPECT_GT(energy, 0.0) << rate << " " << block;
        }

    // NaN and infinities never leave the decoder, and the block after them is
    // decoded as if they had never come, with the head turned so the rotation's
    // state is in play.
    for (int size : {Plx::kSample32, Plx::kSample64}) {
        DecoderRig rig;
        run(rig, Layout::kAmbi3, Layout::kAmbi3, 128, 48000, size);
        auto check = [&](auto zero) {
            using T = decltype(zero);
            rig.changes->addChange(ParamId::kYaw, 0, 0.3);
            rig.changes->addChange(ParamId::kFocusOn, 0, 1.0);
            PlanarBlock<T> in = randomBlock<T>(16, 128, 12), out(16, 128), clean(16, 128);
            rig.process(in, clean, 128);
            rig.process(in, clean, 128);
            PlanarBlock<T> bad = in;
            bad.data[0][5] = std::numeric_limits<T>::quiet_NaN();
            bad.data[7][90] = std::numeric_limits<T>::infinity();
            bad.data[15][127] = -std::numeric_limits<T>::infinity();
            rig.process(bad, out, 128);
            for (const auto& channel : out.data)
                for (T x : channel) ASSERT_TRUE(std::isfinite(x));
            rig.process(in, out, 128);
            EXPECT_LT(maxDifference(clean, out, 16, 128), 1e-6);
        };
        if (size == Plx::kSample32)
            check(0.0f);
        else
            check(0.0);
    }
}

TEST(DecoderSpeakerPath, StereoOnSpeakersLfeAndTheHeadLockedInput) {
    // Stereo in speaker mode: the "Stereo" table, L = (W + Y) / 2, R = (W - Y) / 2.
    DecoderRig rig;
    ASSERT_EQ(rig.setup(48000, 256), Plx::kResultOk);
    rig.sendInt(Msg::kStereoModeBinaural, Msg::kStereoModeBinaural, 0);
    rig.arrange(Layout::kAmbi2, Layout::kStereo);
    ASSERT_EQ(rig.start(), Plx::kResultOk);
    EXPECT_EQ(rig.last(Msg::kChangedAlgoType)->ints.at(Msg::kChangedAlgoType), 2);
    EXPECT_EQ(rig.latency(), 0u);
    PlanarBlock<float> in = planeWave<float>(40, 10, 2, 256, 31), out(2, 256);
    ASSERT_EQ(rig.process(in, out, 256), Plx::kResultOk);
    for (uint32_t f = 0; f < 256; ++f) {
        ASSERT_NEAR(out.data[0][f], 0.5f * (in.data[0][f] + in.data[1][f]), 1e-6f);
        ASSERT_NEAR(out.data[1][f], 0.5f * (in.data[0][f] - in.data[1][f]), 1e-6f);
    }

    // The head-locked input joins the speakers in time (no latency here), at
    // gainLaw(0.5) = 0.5^1.9433582 = 0.2600105, unrotated; with its bus off nothing is added.
    PlanarBlock<float> silent(9, 256), aux = randomBlock<float>(2, 256, 32);
    rig.changes->addChange(ParamId::kYaw, 0, 0.3);
    rig.changes->addChange(ParamId::kAuxGain, 0, 0.5);
    ASSERT_EQ(rig.process(silent, out, 256, &aux), Plx::kResultOk);
    for (int c = 0; c < 2; ++c)
        for (uint32_t f = 0; f < 256; ++f) ASSERT_NEAR(out.data[c][f], 0.2600105f * aux.data[c][f], 1e-6f);
    rig.stop();
    rig.component->activateBus(Plx::kAudio, Plx::kInput, 1, 0);
    rig.start();
    ASSERT_EQ(rig.process(silent, out, 256, &aux), Plx::kResultOk);
    for (const auto& channel : out.data)
        for (float x : channel) ASSERT_EQ(x, 0.0f);

    // 5.1: the LFE is silent at gain 0 and carries the speakers' sum once the
    // gain comes through the parameter queue.
    DecoderRig surround;
    run(surround, Layout::kAmbi1, Layout::k5_1);
    PlanarBlock<float> source = planeWave<float>(0, 0, 1, 256, 33), speakers(6, 256);
    surround.process(source, speakers, 256);
    for (float x : speakers.data[3]) ASSERT_EQ(x, 0.0f);
    surround.changes->addChange(ParamId::kLfeGain, 0, 1.0);
    surround.process(source, speakers, 256);
    for (uint32_t f = 0; f < 256; f += 5) {
        double sum = 0;
        for (int c = 0; c < 6; ++c) sum += c == 3 ? 0.0 : speakers.data[c][f];
        ASSERT_NEAR(speakers.data[3][f], sum, 1e-5);
    }
}

TEST(DecoderBlocks, EveryAlgorithmAtBothSampleSizesWithoutAllocating) {
    // The rig's guard checks every process call for allocations and locks;
    // here each algorithm type runs with the head turning, the focus on and
    // the aux input in use, in 32 and 64 bits, and gives finite sound.
    const std::pair<SpeakerArrangement, bool> outputs[] = {{Layout::kStereo, true},
                                                           {Layout::kStereo, false},
                                                           {Layout::k7_1_4, true},
                                                           {Layout::k22_2, true},
                                                           {Layout::kAmbi3, true}};
    for (const auto& [out, binaural] : outputs)
        for (int size : {Plx::kSample32, Plx::kSample64}) {
            DecoderRig rig;
            ASSERT_EQ(rig.setup(44100, 300, size), Plx::kResultOk);
            rig.sendInt(Msg::kStereoModeBinaural, Msg::kStereoModeBinaural, binaural ? 1 : 0);
            rig.arrange(Layout::kAmbi3, out);
            ASSERT_EQ(rig.start(), Plx::kResultOk) << out;
            auto run = [&](auto zero) {
                using T = decltype(zero);
                const auto outs = uint32_t(Plx::channelCount(out));
                PlanarBlock<T> result(outs, 300), aux = randomBlock<T>(2, 300, 40);
                double energy = 0;
                for (int block = 0; block < 12; ++block) {
                    PlanarBlock<T> in = planeWave<T>(30.0 * block, 10, 3, 300, unsigned(41 + block));
                    rig.changes->addChange(ParamId::kYaw, 0, 0.5 + 0.02 * block);
                    rig.changes->addChange(ParamId::kFocusOn, 0, 1.0);
                    rig.changes->addChange(ParamId::kLfeGain, 0, 0.5);
                    ASSERT_EQ(rig.process(in, result, block % 3 == 2 ? 77 : 300, &aux), Plx::kResultOk);
                    for (const auto& channel : result.data)
                        for (T x : channel) {
                            ASSERT_TRUE(std::isfinite(x));
                            energy += double(x) * double(x);
                        }
                }
                EXPECT_GT(energy, 1.0) << out << " " << size;
            };
            if (size == Plx::kSample32)
                run(0.0f);
            else
                run(0.0);
        }
}

// ---- binaural ---------------------------------------------------------------

namespace {

// The two ears' output of `blocks` blocks of `block` frames, one after the
// other; `fill(b, in, aux)` writes block b's main and aux inputs.
template <class T, class Fill>
std::vector<std::vector<T>> listen(DecoderRig& rig, uint32_t ins, uint32_t block, int blocks, Fill fill) {
    std::vector<std::vector<T>> ears(2);
    for (int b = 0; b < blocks; ++b) {
        PlanarBlock<T> in(ins, block), aux(2, block), out = randomBlock<T>(2, block, 99);
        fill(b, in, aux);
        EXPECT_EQ(rig.process(in, out, block, &aux), Plx::kResultOk);
        for (int c = 0; c < 2; ++c) ears[c].insert(ears[c].end(), out.data[c].begin(), out.data[c].end());
    }
    return ears;
}

template <class T>
double energy(const std::vector<T>& x, size_t from) {
    double e = 0;
    for (size_t i = from; i < x.size(); ++i) e += double(x[i]) * double(x[i]);
    return e;
}

} // namespace

TEST(DecoderBinauralPath, LatencyReportedAndTheHeadLockedInputAlignedToIt) {
    // Both sample sizes, one with a block that divides no transform size.
    const struct {
        int size;
        double rate;
        uint32_t block;
    } setups[] = {{Plx::kSample32, 48000, 512}, {Plx::kSample64, 44100, 300}};
    for (const auto& s : setups) {
        auto check = [&](auto zero) {
            using T = decltype(zero);
            DecoderRig rig;
            run(rig, Layout::kAmbi3, Layout::kStereo, int(s.block), s.rate, s.size);
            EXPECT_EQ(rig.last(Msg::kChangedAlgoType)->ints.at(Msg::kChangedAlgoType), 1);
            EXPECT_EQ(rig.last(Msg::kHrirMode)->ints.at(Msg::kHrirMode), 1);
            const uint32_t latency = rig.latency();
            ASSERT_GT(latency, 0u);
            const int blocks = int((latency + 200) / s.block) + 2;

            // The head-locked input alone, at unity gain: it comes out exactly
            // `latency` samples late, each side on its own ear, and nothing else.
            auto ears = listen<T>(rig, 16, s.block, blocks, [](int b, PlanarBlock<T>&, PlanarBlock<T>& aux) {
                if (b == 0) aux.data[0][0] = T(1), aux.data[1][0] = T(-0.5);
            });
            for (size_t f = 0; f < ears[0].size(); ++f) {
                ASSERT_EQ(ears[0][f], f == latency ? T(1) : T(0)) << f;
                ASSERT_EQ(ears[1][f], f == latency ? T(-0.5) : T(0)) << f;
            }

            // An impulse of the scene: nothing before the latency, the
            // response right after it (the sets keep the direct sound in
            // their first taps).
            rig.stop();
            rig.start();
            ears = listen<T>(rig, 16, s.block, blocks, [](int b, PlanarBlock<T>& in, PlanarBlock<T>&) {
                if (b == 0)
                    for (int c = 0; c < 16; ++c) in.data[c][0] = T(c == 0 ? 1 : 0);
            });
            for (int c = 0; c < 2; ++c) {
                for (size_t f = 0; f < latency; ++f) ASSERT_EQ(ears[c][f], T(0)) << f;
                const double early =
                    energy(std::vector<T>(ears[c].begin(), ears[c].begin() + latency + 64), 0);
                EXPECT_GT(early, 0.5 * energy(ears[c], 0)) << c;
            }
        };
        if (s.size == Plx::kSample32)
            check(0.0f);
        else
            check(0.0);
    }
}

TEST(DecoderBinauralPath, EarsFollowTheSourceAndTheHead) {
    constexpr uint32_t kBlock = 512;
    constexpr int kBlocks = 10;
    auto scene = [](double azimuth) {
        return [azimuth](int b, PlanarBlock<float>& in, PlanarBlock<float>&) {
            in = planeWave<float>(azimuth, 0, 3, kBlock, unsigned(70 + b));
        };
    };
    // The later blocks, where every filter has settled on the steady scene.
    const size_t settled = 6 * kBlock;
    for (double azimuth : {90.0, -90.0}) {
        DecoderRig rig;
        run(rig, Layout::kAmbi3, Layout::kStereo, int(kBlock));
        const auto ears = listen<float>(rig, 16, kBlock, kBlocks, scene(azimuth));
        const double level = 10 * std::log10(energy(ears[0], settled) / energy(ears[1], settled));
        EXPECT_GT(azimuth > 0 ? level : -level, 6.0) << azimuth; // the near ear is louder
    }

    // A turned head hears a source in front as the ambisonic path turns it:
    // the binaural output of the turned scene equals that of the scene
    // encoded where the turn puts the source.
    DecoderRig field;
    run(field, Layout::kAmbi1, Layout::kAmbi1, int(kBlock));
    field.changes->addChange(ParamId::kYaw, 0, yawValue(60));
    PlanarBlock<float> front = planeWave<float>(0, 0, 1, kBlock, 5), turned(4, kBlock);
    field.process(front, turned, kBlock);
    field.process(front, turned, kBlock);
    const double azimuth = std::atan2(turned.data[1][9], turned.data[3][9]) * 180 / M_PI;
    EXPECT_NEAR(std::fabs(azimuth), 60, 1e-3);

    DecoderRig head, still;
    run(head, Layout::kAmbi3, Layout::kStereo, int(kBlock));
    run(still, Layout::kAmbi3, Layout::kStereo, int(kBlock));
    head.changes->addChange(ParamId::kYaw, 0, yawValue(60));
    const auto turning = listen<float>(head, 16, kBlock, kBlocks, scene(0));
    const auto placed = listen<float>(still, 16, kBlock, kBlocks, scene(azimuth));
    double peak = 0, difference = 0;
    for (int c = 0; c < 2; ++c)
        for (size_t f = settled; f < turning[c].size(); ++f) {
            peak = std::max(peak, std::fabs(double(placed[c][f])));
            difference = std::max(difference, std::fabs(double(turning[c][f]) - double(placed[c][f])));
        }
    EXPECT_GT(peak, 0.01);
    EXPECT_LT(difference, 1e-4 * peak);
}

TEST(DecoderBinauralPath, HrirSetsChangeThroughTheRestartAndFallBack) {
    auto inForce = [](DecoderRig& rig) { return rig.last(Msg::kHrirMode)->ints.at(Msg::kHrirMode); };
    // The first-order YouTube set: asked for while running, in force after
    // the restart, and heard: the output differs from the standard set's.
    DecoderRig rig;
    run(rig, Layout::kAmbi1, Layout::kStereo, 256);
    auto hear = [](DecoderRig& r, int order) {
        return listen<float>(r, uint32_t((order + 1) * (order + 1)), 256, 8,
                             [order](int b, PlanarBlock<float>& in, PlanarBlock<float>&) {
                                 in = planeWave<float>(30, 10, order, 256, unsigned(80 + b));
                             });
    };
    const auto standard = hear(rig, 1);
    rig.messages.clear();
    ASSERT_EQ(rig.sendInt(Msg::kHrirModeChanged, Msg::kHrirModeChanged, 2), Plx::kResultOk);
    EXPECT_TRUE(rig.seen(Msg::kHrirMode).empty());
    rig.stop();
    rig.start();
    EXPECT_EQ(inForce(rig), 2);
    EXPECT_EQ(rig.controller->getParamNormalized(ControlId::kModeYoutube), 1.0);
    const auto youtube = hear(rig, 1);
    double difference = 0;
    for (size_t f = 0; f < standard[0].size(); ++f)
        difference = std::max(difference, double(std::fabs(standard[0][f] - youtube[0][f])));
    EXPECT_GT(difference, 1e-3);

    // Third order: YouTube has no set and falls back; Facebook has one. A
    // file that is gone and a profile without its service fall back too, and
    // the controller shows the standard mode; the request stays in the state.
    DecoderRig third;
    run(third, Layout::kAmbi3, Layout::kStereo, 256);
    const struct {
        int32_t asked;
        std::u16string file;
        int64_t expected;
    } cases[] = {
        {2, u"", 1}, {4, u"", 4}, {3, u"/no/such/head.sofa", 1}, {5, u"IMMERSE Profile: someone", 1}};
    for (const auto& c : cases) {
        third.stop();
        if (!c.file.empty()) third.sendString(Msg::kSofaFileChanged, Msg::kFilename, c.file);
        third.sendInt(Msg::kHrirModeChanged, Msg::kHrirModeChanged, c.asked);
        third.start();
        EXPECT_EQ(inForce(third), c.expected) << c.asked;
        EXPECT_EQ(third.controller->getParamNormalized(ControlId::kModeOffset + Plx::ParamID(c.expected)),
                  1.0);
        if (!c.file.empty()) {
            EXPECT_EQ(third.last(Msg::kSofaName)->strings.at(Msg::kSofaName), c.file);
        }
        const auto ears = hear(third, 3);
        EXPECT_GT(energy(ears[0], 0), 1.0) << c.asked;
    }
}
