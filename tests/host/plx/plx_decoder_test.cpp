// SphereDecoder through the plx binary: ambisonic files in, the decoder's
// outputs out with the latency removed, head rotation by automation, and
// head-tracker logs turned into that automation.
#include <cmath>

#include "tests/host/plx/plx_test_util.h"

using namespace PlxTest;

namespace {

double noise(int64_t frame, int channel) {
    return 0.3 *
           std::sin(0.0123 * double(frame * (channel + 3)) + std::sin(0.0007 * double(frame)) * channel);
}

std::vector<std::string> decode(const std::string& in, const std::string& out,
                                std::vector<std::string> extra) {
    std::vector<std::string> args = {"render", "--effect", "SphereDecoder", "--in", in,
                                     "--out",  out,        "--quiet"};
    args.insert(args.end(), extra.begin(), extra.end());
    return args;
}

} // namespace

TEST(PlxDecoder, AmbisonicFilesPassThroughAndTurnWithTheHead) {
    TempDir dir;
    const std::string in = (dir / "scene.wav").string(), out = (dir / "out.wav").string();
    // Nine channels with no layout in the file are second order to the decoder.
    writeAudio(in, 9, 48000, 5000, noise);
    PlxRun run = plx(decode(in, out, {"--out-layout", "2nd Order Ambisonics"}));
    ASSERT_EQ(run.status, 0) << run.err;
    Audio audio = readAudio(out);
    ASSERT_EQ(audio.channels, 9);
    ASSERT_EQ(audio.frames, 5000);
    for (int64_t f = 0; f < audio.frames; f += 7)
        for (int c = 0; c < 9; ++c) ASSERT_EQ(audio.at(f, c), float(noise(f, c))) << f << " " << c;

    // A first-order source in front, turned by a yaw of 90 degrees: its X
    // moves to Y whole, W and Z stay, from the second block on.
    writeAudio(in, 4, 48000, 4096, [](int64_t f, int c) { return c == 0 || c == 3 ? noise(f, 0) : 0.0; });
    run = plx(decode(in, out,
                     {"--in-layout", "1st Order Ambisonics", "--out-layout", "1st Order Ambisonics", "--set",
                      "Yaw=90", "--block", "512"}));
    ASSERT_EQ(run.status, 0) << run.err;
    audio = readAudio(out);
    for (int64_t f = 512; f < audio.frames; f += 13) {
        ASSERT_NEAR(audio.at(f, 0), noise(f, 0), 1e-6);
        ASSERT_NEAR(std::fabs(audio.at(f, 1)), std::fabs(noise(f, 0)), 1e-5) << f;
        ASSERT_NEAR(audio.at(f, 3), 0.0, 1e-5);
    }
    // A speaker layout is no input for the decoder.
    writeAudio(in, 6, 48000, 100, noise);
    run = plx(decode(in, out, {"--in-layout", "5.1"}));
    EXPECT_EQ(run.status, 1);
    EXPECT_NE(run.err.find("does not take 5.1"), std::string::npos) << run.err;
}

TEST(PlxDecoder, TrackerLogsBecomeRotationAutomation) {
    TempDir dir;
    const std::string log = (dir / "head.log").string(), automation = (dir / "head.txt").string();
    // Turning left across the back: 170 to -170 degrees is 20 degrees, not 340.
    {
        std::ofstream file(log);
        file << "# time yaw pitch roll\n0 0 0 0\n1 170 10 -175\n2, -170, 100, 175\n";
    }
    PlxRun run = plx({"tracker-log", "--in", log, "--out", automation});
    ASSERT_EQ(run.status, 0) << run.err;
    const std::string text = readText(automation);
    EXPECT_NE(text.find("48000smp Yaw 170.000000\n72000smp Yaw 180.000000\n72001smp Yaw -180.000000\n"
                        "96000smp Yaw -170.000000\n"),
              std::string::npos)
        << text;
    EXPECT_NE(text.find("96000smp Pitch 90.000000\n"), std::string::npos) << text; // held at straight up
    EXPECT_NE(text.find("72000smp Roll -180.000000\n72001smp Roll 180.000000\n"), std::string::npos) << text;
    // Radians, and mistakes a log may hold.
    {
        std::ofstream file(log);
        file << "0.5 1.5707963267948966 0 0\n";
    }
    run = plx({"tracker-log", "--in", log, "--out", automation, "--radians", "--rate", "44100"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_NE(readText(automation).find("22050smp Yaw 90.000000\n"), std::string::npos);
    for (const std::string bad : {"1 0 0 0\n1 5 0 0\n", "0 1 2\n", "0 x 0 0\n"}) {
        {
            std::ofstream file(log);
            file << bad;
        }
        run = plx({"tracker-log", "--in", log, "--out", automation});
        EXPECT_EQ(run.status, 1) << bad;
        EXPECT_NE(run.err.find("head.log:"), std::string::npos) << run.err;
    }
}

TEST(PlxDecoder, BinauralWithTheLatencyRemovedAndMeasuredSets) {
    TempDir dir;
    const std::string in = (dir / "click.wav").string(), out = (dir / "ears.wav").string();
    // A first-order click from the left (SN3D: W 1, Y 1) at frame 3000.
    constexpr int64_t kClick = 3000;
    writeAudio(in, 4, 48000, 12000, [](int64_t f, int c) { return f == kClick && c <= 1 ? 0.5 : 0.0; });
    auto ears = [&](const std::vector<std::string>& extra) {
        std::vector<std::string> options = {"--in-layout", "1st Order Ambisonics", "--out-layout", "Stereo"};
        options.insert(options.end(), extra.begin(), extra.end());
        PlxRun run = plx(decode(in, out, options));
        EXPECT_EQ(run.status, 0) << run.err;
        return readAudio(out);
    };
    for (const std::vector<std::string>& set : {std::vector<std::string>{}, {"--sofa", PLX_KEMAR_SOFA}}) {
        if (set.size() == 2 && std::string(PLX_KEMAR_SOFA).empty()) continue;
        const Audio audio = ears(set);
        ASSERT_EQ(audio.channels, 2);
        ASSERT_EQ(audio.frames, 12000);
        // Output frame n belongs to input frame n: nothing above the
        // transforms' rounding (-120 dB) before the click, the direct sound
        // within the first taps after it, the left ear louder.
        int64_t first = -1;
        double energy[2] = {}, early = 0;
        for (int64_t f = 0; f < audio.frames; ++f)
            for (int c = 0; c < 2; ++c) {
                const double x = audio.at(f, c);
                if (f < kClick) early = std::max(early, std::fabs(x));
                if (first < 0 && std::fabs(x) > 1e-3) first = f;
                energy[c] += x * x;
            }
        EXPECT_LT(early, 1e-6) << set.size();
        EXPECT_GE(first, kClick) << set.size();
        EXPECT_LT(first, kClick + 48) << set.size();
        EXPECT_GT(energy[0], 2 * energy[1]) << set.size();
    }

    // Files the decoder can't use, and outputs that aren't binaural.
    const std::string junk = (dir / "junk.sofa").string();
    {
        std::ofstream file(junk);
        file << "not a SOFA file\n";
    }
    const struct {
        std::vector<std::string> options;
        std::string says;
    } refusals[] = {
        {{"--out-layout", "Stereo", "--sofa", junk}, "holds no HRIR set"},
        {{"--out-layout", "Stereo", "--sofa", (dir / "gone.sofa").string()}, "is not a file"},
        {{"--out-layout", "5.1", "--sofa", junk}, "--sofa is for binaural decoding"},
    };
    for (const auto& r : refusals) {
        std::vector<std::string> options = {"--in-layout", "1st Order Ambisonics"};
        options.insert(options.end(), r.options.begin(), r.options.end());
        const PlxRun run = plx(decode(in, out, options));
        EXPECT_EQ(run.status, 1) << r.says;
        EXPECT_NE(run.err.find(r.says), std::string::npos) << run.err;
    }
}
