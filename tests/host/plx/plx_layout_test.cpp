// How plx tells layouts: by name, alias or hex mask on the command line, from
// the WAV channel mask of the input, or from the channel count; and how it
// marks them in the files it writes.
#include "tests/host/plx/plx_test_util.h"

using namespace PlxTest;

namespace {

// The "IN -> OUT" part of render's summary line.
std::string summary(const PlxRun& run) {
    const size_t colon = run.out.find(": ");
    const size_t comma = run.out.find(',', colon);
    return colon == std::string::npos || comma == std::string::npos
               ? run.out
               : run.out.substr(colon + 2, comma - colon - 2);
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
                   "--in-layout", "0x2D63F", "--out-layout", "7.1.4"})
                  .status,
              0);
    EXPECT_EQ(summary(render(masked, {"--out-layout", "stereo"})), "7.1.4 -> Stereo");
    EXPECT_EQ(summary(render((dir / "plain12.wav").string(), {"--out-layout", "0x3"})), "7.1.4 -> Stereo");

    // A mask that the file's channels contradict is refused, a name is matched without case.
    const std::string six = (dir / "six.wav").string();
    writeAudio(six, 6, 48000, 100, silence);
    EXPECT_EQ(summary(render(six, {"--in-layout", "5.1", "--out-layout", "7.1"})),
              "5.1 -> 7.1 Music (Dolby)");
    EXPECT_EQ(summary(render(six, {"--in-layout", "6.0 CINE", "--out-layout", "quadro"})),
              "6.0 Cine -> Quadro");
    EXPECT_NE(render(six, {"--in-layout", "0x7"}).status, 0);

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
    ASSERT_EQ(render(six, {"--out-layout", "7.1.2"}).status, 0);
    EXPECT_TRUE(readAudio(out).channelMap.empty());
    EXPECT_EQ(readAudio(out).channels, 10);
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
