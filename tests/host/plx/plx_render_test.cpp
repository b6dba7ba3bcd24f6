// Rendering files through MixMorph with the plx binary, checked against the
// converter's gain law and against each other.
#include <cmath>

#include "tests/host/plx/plx_test_util.h"

using namespace PlxTest;

namespace {

constexpr double kSqrtHalf = 0.70710677;
// The level scale: linear gain 2 * n ^ e of the normalized value n; 0 dB at 0.75.
constexpr double kLevelExponent = 2.4094208396532095;
double levelGain(double normalized) {
    return 2.0 * std::pow(normalized, kLevelExponent);
}

// Six distinct tones, one per 5.1 channel (L R C LFE Ls Rs).
double tone51(int64_t frame, int channel) {
    return 0.1 * std::sin(0.001 * static_cast<double>(frame) * (channel + 1) * 7.0 + channel);
}

std::vector<std::string> renderArgs(const std::string& in, const std::string& out,
                                    std::vector<std::string> extra) {
    std::vector<std::string> args = {"render", "--effect", "MixMorph", "--in", in, "--out", out, "--quiet"};
    args.insert(args.end(), extra.begin(), extra.end());
    return args;
}

} // namespace

TEST(PlxRender, FiveOneToStereoFollowsTheConverterAtDefaults) {
    PLX_REQUIRE_MIXMORPH();
    TempDir dir;
    const std::string in = (dir / "in.wav").string();
    const std::string out = (dir / "out.wav").string();
    writeAudio(in, 6, 48000, 4000, tone51);
    const PlxRun run = plx(renderArgs(in, out, {"--in-layout", "5.1", "--out-layout", "Stereo"}));
    ASSERT_EQ(run.status, 0) << run.err;

    const Audio audio = readAudio(out);
    ASSERT_EQ(audio.channels, 2);
    EXPECT_EQ(audio.frames, 4000);
    EXPECT_EQ(audio.rate, 48000);
    EXPECT_EQ(audio.channelMap, (std::vector<int>{SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_RIGHT}));
    // L and R pass, C and LFE reach both sides at sqrt(1/2), the surrounds fold at 0.5.
    double worst = 0;
    for (int64_t f = 0; f < audio.frames; ++f) {
        const double left = tone51(f, 0) + kSqrtHalf * (tone51(f, 2) + tone51(f, 3)) + 0.5 * tone51(f, 4);
        const double right = tone51(f, 1) + kSqrtHalf * (tone51(f, 2) + tone51(f, 3)) + 0.5 * tone51(f, 5);
        worst = std::max({worst, std::fabs(audio.at(f, 0) - left), std::fabs(audio.at(f, 1) - right)});
    }
    EXPECT_LT(worst, 2e-6);
}

TEST(PlxRender, AutomationRampsFromItsFirstPointToItsLast) {
    PLX_REQUIRE_MIXMORPH();
    TempDir dir;
    const std::string in = (dir / "in.wav").string();
    const std::string out = (dir / "out.wav").string();
    const std::string automation = (dir / "fade.auto").string();
    writeAudio(in, 2, 48000, 52000, [](int64_t, int c) { return c == 0 ? 0.5 : 0.0; });
    // Global level from 0 dB down to silence between two block starts.
    const int64_t from = 94 * 256, to = 188 * 256;
    std::ofstream(automation) << "# fade out\n"
                              << from << "smp, \"Global Level\", 0dB\n"
                              << to << "smp  134  0n\n";
    const PlxRun run = plx(renderArgs(
        in, out,
        {"--in-layout", "Stereo", "--out-layout", "Stereo", "--block", "256", "--automation", automation}));
    ASSERT_EQ(run.status, 0) << run.err;
    const Audio audio = readAudio(out);
    ASSERT_EQ(audio.frames, 52000);

    for (int64_t f = 0; f < from; ++f) ASSERT_EQ(audio.at(f, 0), 0.5) << "before the ramp, at " << f;
    // At the end of each block the gain is the law's at the straight-line value.
    for (int64_t end = from + 255; end < to; end += 256) {
        const double normalized =
            0.75 * (1.0 - static_cast<double>(end - from) / static_cast<double>(to - from));
        EXPECT_NEAR(audio.at(end, 0), 0.5 * levelGain(normalized), 2e-5) << "at " << end;
    }
    for (int64_t f = from + 1; f < to + 256; ++f)
        ASSERT_LE(audio.at(f, 0), audio.at(f - 1, 0) + 1e-9) << "falls steadily, at " << f;
    // The last step is below the level's change threshold of 1.6e-6, so the
    // gain stays at the last value before the end, which is practically 0.
    for (int64_t f = to + 255; f < audio.frames; ++f)
        ASSERT_LT(std::fabs(audio.at(f, 0)), 1e-9) << "after the ramp, at " << f;
    for (int64_t f = 0; f < audio.frames; ++f) ASSERT_EQ(audio.at(f, 1), 0.0);
}

TEST(PlxRender, SavedStateReproducesTheSameOutput) {
    PLX_REQUIRE_MIXMORPH();
    TempDir dir;
    const std::string in = (dir / "in.wav").string();
    writeAudio(in, 6, 44100, 3000, tone51);
    const std::string state = (dir / "mix.state").string();
    const std::string first = (dir / "first.wav").string();
    const std::string second = (dir / "second.wav").string();
    const std::string plain = (dir / "plain.wav").string();

    ASSERT_EQ(plx(renderArgs(in, first,
                             {"--out-layout", "Stereo", "--set", "Center Level=-12", "--set",
                              "surroundlevel=-3dB", "--set", "134=0.7n", "--state-out", state}))
                  .status,
              0);
    // The state carries the output layout too.
    const PlxRun run = plx(renderArgs(in, second, {"--state-in", state}));
    ASSERT_EQ(run.status, 0) << run.err;
    ASSERT_EQ(plx(renderArgs(in, plain, {"--out-layout", "Stereo"})).status, 0);

    const Audio a = readAudio(first), b = readAudio(second), c = readAudio(plain);
    ASSERT_EQ(b.channels, 2);
    EXPECT_EQ(a.samples, b.samples);
    EXPECT_NE(a.samples, c.samples) << "the settings changed the sound";
}

TEST(PlxRender, OutputLinesUpWithInputSampleForSample) {
    PLX_REQUIRE_MIXMORPH();
    TempDir dir;
    const std::string in = (dir / "in.wav").string();
    const std::string out = (dir / "out.wav").string();
    const std::string out64 = (dir / "out64.wav").string();
    // Impulses on L and Ls; a length and a block size that don't divide.
    writeAudio(in, 6, 48000, 3001,
               [](int64_t f, int c) { return (c == 0 && f == 1000) || (c == 4 && f == 2345) ? 1.0 : 0.0; });
    const PlxRun run = plx({"render", "--effect", "MixMorph", "--in", in, "--out", out, "--in-layout", "5.1",
                            "--out-layout", "Stereo", "--block", "100"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.out.find("latency"), std::string::npos) << run.out;
    ASSERT_EQ(plx(renderArgs(in, out64,
                             {"--in-layout", "5.1", "--out-layout", "Stereo", "--block", "100", "--double"}))
                  .status,
              0);

    for (const std::string& path : {out, out64}) {
        const Audio audio = readAudio(path);
        ASSERT_EQ(audio.frames, 3001) << path;
        for (int64_t f = 0; f < audio.frames; ++f) {
            const double left = f == 1000 ? 1.0 : f == 2345 ? 0.5 : 0.0;
            ASSERT_NEAR(audio.at(f, 0), left, 1e-6) << path << " at " << f;
            ASSERT_EQ(audio.at(f, 1), 0.0) << path << " at " << f;
        }
    }
    SF_INFO info{};
    SNDFILE* file = sf_open(out64.c_str(), SFM_READ, &info);
    ASSERT_NE(file, nullptr);
    sf_close(file);
    EXPECT_EQ(info.format & SF_FORMAT_SUBMASK, SF_FORMAT_DOUBLE);
}

TEST(PlxMatrix, PrintsTheLabelledMatrixAndItsHeatMap) {
    PLX_REQUIRE_MIXMORPH();
    TempDir dir;
    const std::string svg = (dir / "matrix.svg").string();
    const PlxRun run = plx({"matrix", "--effect", "MixMorph V6", "--in-layout", "5.1", "--out-layout",
                            "stereo", "--set", "Global Level=0.5n", "--svg", svg});
    ASSERT_EQ(run.status, 0) << run.err;
    // Row C: both outputs at sqrt(1/2), scaled by the global level.
    std::istringstream lines(run.out);
    std::string line;
    std::map<std::string, std::vector<double>> rows;
    while (std::getline(lines, line)) {
        std::istringstream fields(line);
        std::string label;
        fields >> label;
        std::string cell;
        while (fields >> cell) rows[label].push_back(cell == "." ? 0.0 : std::atof(cell.c_str()));
    }
    const double global = levelGain(0.5);
    ASSERT_EQ(rows["C"].size(), 2u) << run.out;
    EXPECT_NEAR(rows["C"][0], kSqrtHalf * global, 1e-4);
    EXPECT_NEAR(rows["Ls"][0], 0.5 * global, 1e-4);
    EXPECT_EQ(rows["Ls"][1], 0.0);
    const std::string heatMap = readText(svg);
    EXPECT_EQ(heatMap.rfind("<svg", 0), 0u);
    for (const char* label : {">L<", ">R<", ">LFE<", ">Rs<"})
        EXPECT_NE(heatMap.find(label), std::string::npos) << label;
}

TEST(PlxDemo, WritesTheSceneTheRendersAndTheirMatrices) {
    PLX_REQUIRE_MIXMORPH();
    TempDir dir;
    const PlxRun run = plx({"demo", "--out", (dir / "demo").string(), "--quiet"});
    ASSERT_EQ(run.status, 0) << run.err;
    // Both files carry their speaker positions in the WAV channel mask.
    const Audio scene = readAudio(dir / "demo/scene-7.1.4.wav");
    EXPECT_EQ(scene.channelMap,
              (std::vector<int>{SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_RIGHT, SF_CHANNEL_MAP_CENTER,
                                SF_CHANNEL_MAP_LFE, SF_CHANNEL_MAP_REAR_LEFT, SF_CHANNEL_MAP_REAR_RIGHT,
                                SF_CHANNEL_MAP_SIDE_LEFT, SF_CHANNEL_MAP_SIDE_RIGHT,
                                SF_CHANNEL_MAP_TOP_FRONT_LEFT, SF_CHANNEL_MAP_TOP_FRONT_RIGHT,
                                SF_CHANNEL_MAP_TOP_REAR_LEFT, SF_CHANNEL_MAP_TOP_REAR_RIGHT}));
    const Audio fiveOne = readAudio(dir / "demo/mixmorph-7.1.4-to-5.1.wav");
    EXPECT_EQ(fiveOne.frames, scene.frames);
    EXPECT_EQ(fiveOne.channelMap,
              (std::vector<int>{SF_CHANNEL_MAP_LEFT, SF_CHANNEL_MAP_RIGHT, SF_CHANNEL_MAP_CENTER,
                                SF_CHANNEL_MAP_LFE, SF_CHANNEL_MAP_REAR_LEFT, SF_CHANNEL_MAP_REAR_RIGHT}));
    EXPECT_EQ(readAudio(dir / "demo/mixmorph-7.1.4-to-stereo.wav").channels, 2);
    for (const char* svg : {"demo/mixmorph-7.1.4-to-5.1.svg", "demo/mixmorph-7.1.4-to-stereo.svg"})
        EXPECT_NE(readText(dir / svg).find("</svg>"), std::string::npos) << svg;
    EXPECT_NE(run.out.find("peak dBFS"), std::string::npos);
}
