// How plx tells layouts: by name, alias or hex mask on the command line, from
// the WAV channel mask of the input, or from the channel count; and how it
// marks them in the files it writes.
#include <cmath>

#include "frame/speaker_arrangement_names.h"
#include "tests/host/plx/plx_test_util.h"

using namespace PlxTest;
using namespace Tannhofen::Plx;

namespace {

// The "IN -> OUT" part of render's summary line.
std::string summary(const PlxRun& run) {
    const size_t colon = run.out.find(": ");
    const size_t comma = run.out.find(',', colon);
    return colon == std::string::npos || comma == std::string::npos
               ? run.out
               : run.out.substr(colon + 2, comma - colon - 2);
}

// A layout as a user may type it: its hex mask.
std::string hex(SpeakerArrangement mask) {
    char text[24];
    std::snprintf(text, sizeof text, "0x%llX", static_cast<unsigned long long>(mask));
    return text;
}

} // namespace

TEST(PlxLayouts, NamesMasksAndTheFilesOwnChannelMaskAgree) {
    PLX_REQUIRE_MIXMORPH();
    TempDir dir;
    const std::string out = (dir / "out.wav").string();
    auto render = [&](const std::string& in, std::vector<std::string> extra) {
        std::vector<std::string> args = {"render", "--effect", "MixMorph", "--in", in, "--out", out};
        args.insert(args.end(), extra.begin(), extra.end());
        return plx(args);
    };
    auto silence = [](int64_t, int) { return 0.0; };

    // Twelve channels with a 7.1.4 mask, and without one: the mask or the count tells.
    const std::string masked = (dir / "masked.wav").string();
    writeAudio(dir / "plain12.wav", 12, 48000, 100, silence);
    ASSERT_EQ(plx({"render", "--effect", "MixMorph", "--in", (dir / "plain12.wav").string(), "--out", masked,
                   "--in-layout", hex(Layout::k7_1_4), "--out-layout", "7.1.4"})
                  .status,
              0);
    EXPECT_EQ(summary(render(masked, {"--out-layout", "stereo"})), "7.1.4 -> Stereo");
    EXPECT_EQ(summary(render((dir / "plain12.wav").string(), {"--out-layout", hex(Layout::kStereo)})),
              "7.1.4 -> Stereo");

    // A mask that the file's channels contradict is refused, a name is matched without case.
    const std::string six = (dir / "six.wav").string();
    writeAudio(six, 6, 48000, 100, silence);
    EXPECT_EQ(summary(render(six, {"--in-layout", "5.1", "--out-layout", "7.1"})),
              "5.1 -> 7.1 Music (Dolby)");
    EXPECT_EQ(summary(render(six, {"--in-layout", "6.0 CINE", "--out-layout", "quadro"})),
              "6.0 Cine -> Quadro");
    EXPECT_NE(render(six, {"--in-layout", hex(Layout::kLRC)}).status, 0);

    // FLAC and AIFF carry no mask: six channels are taken for 5.1.
    for (const auto& [name, format] : {std::pair{"six.flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16},
                                       std::pair{"six.aiff", SF_FORMAT_AIFF | SF_FORMAT_FLOAT}}) {
        writeAudio(dir / name, 6, 44100, 100, silence, format);
        EXPECT_EQ(summary(render((dir / name).string(), {"--out-layout", "Stereo"})), "5.1 -> Stereo")
            << name;
    }

    // An ambisonic output is marked as such, a layout beyond WAV's positions gets no mask.
    ASSERT_EQ(render(six, {"--out-layout", "1st Order Ambisonics"}).status, 0);
    SF_INFO info{};
    SNDFILE* file = sf_open(out.c_str(), SFM_READ, &info);
    ASSERT_NE(file, nullptr);
    EXPECT_EQ(info.channels, 4);
    EXPECT_EQ(sf_command(file, SFC_WAVEX_GET_AMBISONIC, nullptr, 0), SF_AMBISONIC_B_FORMAT);
    sf_close(file);
}

// The WAV channel mask bit of each speaker that WAV has a position for, from
// WAV's own list (front left 0x1 ... top back right 0x20000). Mono is WAV's
// front centre.
int64_t wavBitOf(SpeakerArrangement speaker) {
    using namespace Speaker;
    const std::pair<SpeakerArrangement, int64_t> positions[] = {
        {L, 0x1},      {R, 0x2},       {C, 0x4},       {LFE, 0x8},    {Ls, 0x10},
        {Rs, 0x20},    {Lc, 0x40},     {Rc, 0x80},     {Cs, 0x100},   {Sl, 0x200},
        {Sr, 0x400},   {Tc, 0x800},    {Tfl, 0x1000},  {Tfc, 0x2000}, {Tfr, 0x4000},
        {Trl, 0x8000}, {Trc, 0x10000}, {Trr, 0x20000}, {M, 0x4}};
    for (const auto& [bit, wav] : positions)
        if (bit == speaker) return wav;
    return 0;
}

TEST(PlxLayouts, EveryNamedLayoutIsWrittenHonestlyAndReadBackExactly) {
    PLX_REQUIRE_MIXMORPH();
    TempDir dir;
    const std::string in = (dir / "in.wav").string();
    writeAudio(in, 2, 48000, 64, [](int64_t f, int c) { return 0.01 * static_cast<double>(f + c); });
    for (const ArrangementInfo& layout : kArrangements) {
        const std::string name = layout.shortName;
        const std::string file = (dir / "out.wav").string();
        const PlxRun written = plx({"render", "--effect", "MixMorph", "--in", in, "--in-layout", "Stereo",
                                    "--out", file, "--out-layout", name});
        ASSERT_EQ(written.status, 0) << name << ": " << written.err;
        ASSERT_EQ(readAudio(file).channels, channelCount(layout.mask)) << name;

        // The mask of the speakers when WAV has a place for each, else none.
        int64_t expected = 0;
        for (int bit = 0; bit < 64; ++bit) {
            const SpeakerArrangement speaker = layout.mask & (SpeakerArrangement{1} << bit);
            if (!speaker) continue;
            if (!wavBitOf(speaker)) {
                expected = 0;
                break;
            }
            expected |= wavBitOf(speaker);
        }
        EXPECT_EQ(wavChannelMask(file), expected) << name;

        // Read back without --in-layout: the converter names the layout it
        // took, as input or, for ambisonics, which it doesn't take, in its refusal.
        const PlxRun back = plx({"render", "--effect", "MixMorph", "--in", file, "--out",
                                 (dir / "back.wav").string(), "--out-layout", "Stereo"});
        if (back.status == 0)
            EXPECT_EQ(back.out.substr(back.out.find(": ") + 2, name.size() + 11), name + " -> Stereo,")
                << name;
        else
            EXPECT_NE(back.err.find("does not take " + name + " as input"), std::string::npos) << back.err;
    }
}

TEST(PlxLayouts, UndefinedSpeakerBitsAreRefusedWithTheNames) {
    TempDir dir;
    const std::string in = (dir / "in.wav").string();
    writeAudio(in, 6, 48000, 10, [](int64_t, int) { return 0.0; });
    for (const char* mask : {"0xFC00000000000000", "0x800000000000003F", "0x4000000000000"}) {
        const PlxRun run = plx({"render", "--effect", "MixMorph", "--in", in, "--out",
                                (dir / "out.wav").string(), "--in-layout", mask});
        EXPECT_EQ(run.status, 1) << mask;
        EXPECT_NE(run.err.find("holds speaker bits that the module does not define"), std::string::npos)
            << run.err;
        EXPECT_NE(run.err.find("layouts are Stereo, LRC, "), std::string::npos) << run.err;
        EXPECT_NE(run.err.find(", 3rd Order Ambisonics, or a hex mask"), std::string::npos) << run.err;
    }
    EXPECT_EQ(dir.names(), std::set<std::string>{"in.wav"});
}

TEST(PlxValues, UnitsNormalizedValuesAndTextNameTheSameSetting) {
    PLX_REQUIRE_MIXMORPH();
    auto matrix = [](std::vector<std::string> sets) {
        std::vector<std::string> args = {"matrix", "--effect",     "MixMorph", "--in-layout",
                                         "5.1",    "--out-layout", "Stereo"};
        for (const std::string& set : sets) {
            args.push_back("--set");
            args.push_back(set);
        }
        const PlxRun run = plx(args);
        EXPECT_EQ(run.status, 0) << run.err;
        return run.out;
    };
    // -6.02 dB is 0.5 linear, normalized 0.5 ^ (1 / 2.4094...) / ... = 0.5625 on the level scale.
    const std::string byUnits = matrix({"Center Level=-6.0206dB"});
    EXPECT_EQ(matrix({"128=0.5625n"}), byUnits);
    EXPECT_EQ(matrix({"centerlevel=-6.0206"}), byUnits);
    EXPECT_NE(matrix({}), byUnits);
    // The bottom of a decibel range may be written -inf; the centre then vanishes.
    const std::string silent = matrix({"Center Level=-inf"});
    EXPECT_EQ(silent, matrix({"Center Level=0n"}));
    EXPECT_NE(silent.find("C            .       ."), std::string::npos) << silent;
}

TEST(PlxLayouts, TheOutputArrangementSettingChoosesTheOutputAsTheEditorDoes) {
    PLX_REQUIRE_MIXMORPH();
    TempDir dir;
    const std::string in = (dir / "in.wav").string();
    writeAudio(in, 6, 48000, 2000,
               [](int64_t f, int c) { return 0.05 * (c + 1) * std::sin(0.01 * f * (c + 1)); });
    auto render = [&](const std::string& name, std::vector<std::string> extra) {
        std::vector<std::string> args = {"render", "--effect", "MixMorph",
                                         "--in",   in,         "--in-layout",
                                         "5.1",    "--out",    (dir / name).string(),
                                         "--quiet"};
        args.insert(args.end(), extra.begin(), extra.end());
        return plx(args);
    };
    ASSERT_EQ(render("chosen.wav", {"--out-layout", "LRC", "--set", "Center Level=-6dB"}).status, 0);
    // The setting gives the same file, whether it comes before or after the level.
    for (const auto& sets :
         {std::vector<std::string>{"--set", "Output Arrangement=LRC", "--set", "Center Level=-6dB"},
          std::vector<std::string>{"--set", "Center Level=-6dB", "--set", "Output Arrangement=lrc"}}) {
        const PlxRun run = render("set.wav", sets);
        ASSERT_EQ(run.status, 0) << run.err;
        EXPECT_TRUE(readText(dir / "set.wav") == readText(dir / "chosen.wav")) << sets[1];
    }
    EXPECT_EQ(wavChannelMask(dir / "set.wav"), 0x7);
    const PlxRun contradicted = render("no.wav", {"--out-layout", "5.1", "--set", "Output Arrangement=LRC"});
    EXPECT_EQ(contradicted.status, 1);
    EXPECT_NE(contradicted.err.find("gives the output LRC, but --out-layout asks for 5.1"), std::string::npos)
        << contradicted.err;
    EXPECT_FALSE(fs::exists(dir / "no.wav"));
}
