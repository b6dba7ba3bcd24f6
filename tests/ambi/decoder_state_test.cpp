// SphereDecoder's saved state through the module's exports: the layout of
// version 5 byte by byte, streams of versions 0 to 5 as older sessions wrote
// them, the output a state asks for, and streams that are cut short, damaged
// or random, which must leave the processor as it was.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "ambi/ambi_messages.h"
#include "ambi/ambi_params.h"
#include "frame/igraphlocation.h"
#include "host/lib/memory_stream.h"
#include "tests/ambi/decoder_rig.h"

using namespace DecoderTest;
namespace Layout = Tannhofen::Plx::Layout;
namespace Msg = Tannhofen::AmbiBin::Msg;
namespace ParamId = Tannhofen::AmbiBin::ParamId;

namespace {

// A version-5 stream with these values, written by hand from the layout.
std::vector<uint8_t> version5(int32_t order, int32_t hrirMode, double aux, const std::string& name,
                              double lfe, int32_t lowPass, SpeakerArrangement out, int32_t binaural,
                              const double focus[6]) {
    StateBytes b;
    b.i32(5).i32(order).i32(order).i32(0).i32(0).i32(0).i32(hrirMode).f64(aux).i32(int32_t(name.size()));
    if (!name.empty()) b.raw(name).raw(std::string(1, '\0'));
    b.f64(lfe).i32(lowPass).i64(int64_t(out)).f64(0).f64(0).f64(0).i32(binaural);
    for (int i = 0; i < 6; ++i) b.f64(focus[i]);
    return b.bytes;
}

void stopped(DecoderRig& rig, SpeakerArrangement in, SpeakerArrangement out) {
    ASSERT_EQ(rig.setup(48000, 128), Plx::kResultOk);
    rig.arrange(in, out);
}

} // namespace

TEST(DecoderState, VersionFiveLaidOutByteByByte) {
    DecoderRig rig({.controller = false});
    stopped(rig, Layout::kAmbi2, Layout::k5_1);
    rig.sendInt(Msg::kHrirModeChanged, Msg::kHrirModeChanged, 3);
    rig.sendString(Msg::kSofaFileChanged, Msg::kFilename, u"/x/kemar.sofa");
    rig.sendInt(Msg::kStereoModeBinaural, Msg::kStereoModeBinaural, 0);
    rig.start();
    const std::pair<Plx::ParamID, double> values[] = {{130, 0.25}, {131, 0.5}, {132, 0.7}, {135, 0.1},
                                                      {136, 0.2},  {137, 0.3}, {138, 0.4}, {134, 0.6},
                                                      {139, 0.2},  {110, 0.9}};
    for (const auto& [id, v] : values) rig.changes->addChange(id, 0, v);
    PlanarBlock<float> in(9, 128), out(6, 128);
    rig.process(in, out, 128);
    const double focus[6] = {0.1, 0.2, 0.3, 0.4, 1, 0};
    EXPECT_EQ(rig.saveState(), version5(2, 3, 0.25, "/x/kemar.sofa", 0.5, 1, Layout::k5_1, 0, focus));

    // It loads back into another processor, which then saves the same bytes.
    DecoderRig other({.controller = false});
    stopped(other, Layout::kAmbi2, Layout::k5_1);
    ASSERT_EQ(other.loadState(rig.saveState()), Plx::kResultOk);
    EXPECT_EQ(other.saveState(), rig.saveState());
}

TEST(DecoderState, OlderVersionsLoadWhatTheyHold) {
    DecoderRig rig({.controller = false});
    stopped(rig, Layout::kAmbi3, Layout::kAmbi3);
    const double focus[6] = {0.1, 0.2, 0.3, 0.4, 1, 0};
    ASSERT_EQ(rig.loadState(version5(3, 4, 0.5, "", 0.5, 0, Layout::kAmbi3, 1, focus)), Plx::kResultOk);

    // Version 2: name, levels and LFE, but no focus: the focus stays, and the
    // binaural stereo mode of older sessions is off.
    StateBytes v2;
    v2.i32(2).i32(2).i32(2).i32(0).i32(0).i32(0).i32(2).f64(0.75).i32(6).raw("a.sofa").raw(
        std::string(1, '\0'));
    v2.f64(0.125).i32(1).i64(0);
    ASSERT_EQ(rig.loadState(v2.bytes), Plx::kResultOk);
    EXPECT_EQ(rig.saveState(), version5(2, 2, 0.75, "a.sofa", 0.125, 1, Layout::kAmbi3, 0, focus));

    // Version 3 adds three angles that the processor reads and drops;
    // version 4 the stereo mode and focus.
    StateBytes v3;
    v3.i32(3).i32(3).i32(3).i32(0).i32(0).i32(1).i32(1).f64(1).i32(0).f64(0).i32(0).i64(0);
    v3.f64(0.3).f64(0.3).f64(0.3);
    ASSERT_EQ(rig.loadState(v3.bytes), Plx::kResultOk);
    EXPECT_EQ(rig.saveState(), version5(3, 1, 1, "", 0, 0, Layout::kAmbi3, 0, focus));
    StateBytes v4 = v3;
    v4.bytes[0] = 4;
    v4.i32(1);
    const double focus4[6] = {0.9, 0.8, 0.7, 0.6, 0, 1};
    for (double f : focus4) v4.f64(f);
    ASSERT_EQ(rig.loadState(v4.bytes), Plx::kResultOk);
    EXPECT_EQ(rig.saveState(), version5(3, 1, 1, "", 0, 0, Layout::kAmbi3, 1, focus4));

    // Version 0 holds nothing else; a negative version is refused.
    ASSERT_EQ(rig.loadState(StateBytes().i32(0).bytes), Plx::kResultOk);
    EXPECT_EQ(rig.saveState(), version5(3, 1, 1, "", 0, 0, Layout::kAmbi3, 1, focus4));
    EXPECT_EQ(rig.loadState(StateBytes().i32(-1).bytes), Plx::kResultFalse);

    // Values out of range are made safe: levels kept to 0..1 (NaN keeps the
    // value), the low-pass to a switch, an unknown HRIR mode is the standard
    // set, the order stays within the input's.
    std::vector<uint8_t> wild =
        version5(7, 9, std::numeric_limits<double>::quiet_NaN(), "", 5.0, 3, 0, 1, focus4);
    ASSERT_EQ(rig.loadState(wild), Plx::kResultOk);
    EXPECT_EQ(rig.saveState(), version5(3, 1, 1, "", 1, 1, Layout::kAmbi3, 1, focus4));
}

TEST(DecoderState, DamagedStreamsLeaveTheProcessorAsItWas) {
    DecoderRig rig({.controller = false});
    stopped(rig, Layout::kAmbi1, Layout::kStereo);
    const double focus[6] = {0.1, 0.2, 0.3, 0.4, 1, 0};
    const std::vector<uint8_t> good = version5(1, 3, 0.5, "/y/set.sofa", 0.25, 1, Layout::kStereo, 0, focus);
    ASSERT_EQ(rig.loadState(good), Plx::kResultOk);
    const std::vector<uint8_t> kept = rig.saveState();
    for (size_t n = 0; n < good.size(); ++n) {
        ASSERT_EQ(rig.loadState(std::vector<uint8_t>(good.begin(), good.begin() + long(n))),
                  Plx::kResultFalse)
            << n;
        ASSERT_EQ(rig.saveState(), kept) << n;
    }
    // A name longer than 1024 bytes, or one that ends before its length says.
    StateBytes longName;
    longName.i32(5).i32(1).i32(1).i32(0).i32(0).i32(0).i32(3).f64(1).i32(1025).raw(std::string(1025, 'n'));
    EXPECT_EQ(rig.loadState(longName.bytes), Plx::kResultFalse);
    std::vector<uint8_t> shortName = good;
    shortName[36] = 5; // the name is 11 bytes; 5 would end in its middle
    EXPECT_EQ(rig.loadState(shortName), Plx::kResultFalse);
    EXPECT_EQ(rig.saveState(), kept);

    // 10000 random streams and damaged good ones: each is refused or taken
    // whole, never half; what is taken saves and loads again to the same bytes.
    std::mt19937 rng(1913);
    std::uniform_int_distribution<int> byte(0, 255);
    int taken = 0;
    for (int i = 0; i < 10000; ++i) {
        std::vector<uint8_t> bytes;
        if (i % 2) {
            bytes.resize(size_t(byte(rng)) % 160);
            for (auto& b : bytes) b = uint8_t(byte(rng));
            if (bytes.size() >= 4 && i % 4 == 1)
                bytes[0] = uint8_t(byte(rng) % 6), bytes[1] = bytes[2] = bytes[3] = 0;
        } else {
            bytes = good;
            for (int k = 0; k < 1 + i % 4; ++k)
                bytes[size_t(byte(rng)) % bytes.size()] ^= uint8_t(1 + byte(rng) % 255);
            if (i % 6 == 0) bytes.resize(size_t(byte(rng)) % bytes.size());
        }
        const std::vector<uint8_t> prior = rig.saveState();
        const Plx::tresult r = rig.loadState(bytes);
        ASSERT_TRUE(r == Plx::kResultOk || r == Plx::kResultFalse);
        const std::vector<uint8_t> now = rig.saveState();
        if (r != Plx::kResultOk) {
            ASSERT_EQ(now, prior) << i;
            continue;
        }
        ++taken;
        ASSERT_EQ(rig.loadState(now), Plx::kResultOk);
        ASSERT_EQ(rig.saveState(), now) << i;
    }
    EXPECT_GT(taken, 1000);
}

TEST(DecoderState, TheOutputAStateAsksFor) {
    DecoderRig rig({.controller = false});
    stopped(rig, Layout::kAmbi1, Layout::kStereo);
    const double focus[6] = {0.5, 0.5, 0.333, 1, 0, 1};
    // A known output other than the present one comes with the next stop.
    ASSERT_EQ(rig.loadState(version5(1, 1, 1, "", 0, 0, Layout::k7_1_4, 1, focus)), Plx::kResultOk);
    EXPECT_EQ(rig.bus(Plx::kOutput), Layout::kStereo);
    rig.start();
    rig.stop();
    EXPECT_EQ(rig.bus(Plx::kOutput), Layout::k7_1_4);
    // One the decoder doesn't take, or any while it serves as a panner, is ignored.
    rig.arrange(Layout::kAmbi1, Layout::kStereo);
    ASSERT_EQ(rig.loadState(version5(1, 1, 1, "", 0, 0, Layout::k7_1Cine, 1, focus)), Plx::kResultOk);
    rig.start();
    rig.stop();
    EXPECT_EQ(rig.bus(Plx::kOutput), Layout::kStereo);
    IPtr<Plx::IGraphLocation> graph =
        IPtr<Plx::IGraphLocation>::adopt(Plx::queryInterfaceOf<Plx::IGraphLocation>(rig.component.get()));
    graph->setGraphLocation(0, Plx::IGraphLocation::kPannerSlot);
    ASSERT_EQ(rig.loadState(version5(1, 1, 1, "", 0, 0, Layout::k5_1, 1, focus)), Plx::kResultOk);
    rig.start();
    rig.stop();
    EXPECT_EQ(rig.bus(Plx::kOutput), Layout::kStereo);
}

TEST(DecoderState, ASofaFileThatIsGoneFallsBackAndTheControllerShowsIt) {
    namespace ControlId = Tannhofen::AmbiBin::ControlId;
    const double focus[6] = {0.5, 0.5, 0.333, 1, 0, 1};
    const std::string kemar = PLX_KEMAR_SOFA;
    const struct {
        std::string file;
        int64_t inForce;
    } cases[] = {{"/gone/head.sofa", 1}, {kemar, 3}};
    for (const auto& c : cases) {
        if (c.file.empty()) continue;
        DecoderRig rig;
        stopped(rig, Layout::kAmbi3, Layout::kStereo);
        ASSERT_EQ(rig.loadState(version5(3, 3, 1, c.file, 0, 0, Layout::kStereo, 1, focus)), Plx::kResultOk);
        ASSERT_EQ(rig.syncController(), Plx::kResultOk);
        ASSERT_EQ(rig.start(), Plx::kResultOk);
        EXPECT_EQ(rig.last(Msg::kHrirMode)->ints.at(Msg::kHrirMode), c.inForce) << c.file;
        EXPECT_EQ(rig.controller->getParamNormalized(ControlId::kModeSofa), c.inForce == 3 ? 1.0 : 0.0);
        EXPECT_EQ(rig.controller->getParamNormalized(ControlId::kModeStandard), c.inForce == 1 ? 1.0 : 0.0);
        // The decoder runs on the set in force; the request stays for the next session.
        PlanarBlock<float> in = randomBlock<float>(16, 128, 3), out(2, 128);
        double sum = 0;
        for (int b = 0; b < 40; ++b) {
            ASSERT_EQ(rig.process(in, out, 128), Plx::kResultOk);
            for (float x : out.data[0]) sum += std::fabs(x);
        }
        EXPECT_GT(sum, 1.0);
        EXPECT_EQ(rig.saveState(), version5(3, 3, 1, c.file, 0, 0, Layout::kStereo, 1, focus));
    }
}
