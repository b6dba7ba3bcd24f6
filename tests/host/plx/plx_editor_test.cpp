// plx's views of the editor support: the remote map of an effect, and the
// output meters of a render drawn over time.
#include <cmath>
#include <sstream>

#include "tests/host/plx/plx_test_util.h"
#include "tests/support/xml_lint.h"

using namespace PlxTest;

namespace {

struct Point {
    double seconds;
    double fraction;
};

// The first row's meter, read back from the drawing's first polygon: the
// plot starts at x 64 and is 840 wide for the whole render; a row is 40
// high, its bottom at 58 + 40.
std::vector<Point> firstMeterRow(const std::string& svg, double seconds) {
    std::vector<Point> points;
    const std::string key = "<polygon points=\"";
    const size_t start = svg.find(key);
    if (start == std::string::npos) return points;
    std::istringstream list(
        svg.substr(start + key.size(), svg.find('"', start + key.size()) - start - key.size()));
    double x = 0, y = 0;
    char comma = 0;
    while (list >> x >> comma >> y) points.push_back({(x - 64.0) / 840.0 * seconds, (98.0 - y) / 40.0});
    return points;
}

} // namespace

TEST(PlxEditor, RemoteMapIsWellFormedAndMistakesSayWhy) {
    PLX_REQUIRE_MIXMORPH();
    const PlxRun run = plx({"remote-map", "--effect", "MixMorph", "--in-layout", "5.1", "--out-layout",
                            "Stereo", "--representation", "Fader & Co"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_EQ(XmlLint::wellFormedError(run.out), "");
    EXPECT_EQ(XmlLint::xpath(run.out, "string(//representation/@name)"), "Fader & Co");
    EXPECT_EQ(XmlLint::xpath(run.out, "string(//representation/@host)"), "plx");
    // 5.1 in: six input speaker buttons; stereo out: two output ones.
    EXPECT_EQ(XmlLint::xpath(run.out, "count(//layer[@parameterID>=59 and @parameterID<=84])"), "6");
    EXPECT_EQ(XmlLint::xpath(run.out, "count(//layer[@parameterID>=17 and @parameterID<=42])"), "2");

    for (const std::vector<std::string>& args :
         {std::vector<std::string>{"remote-map", "--effect", "Nothing"},
          std::vector<std::string>{"remote-map", "--effect", "MixMorph", "--in-layout", "Hexaphonic"},
          std::vector<std::string>{"remote-map"}}) {
        const PlxRun bad = plx(args);
        EXPECT_EQ(bad.status, 1) << args.back();
        EXPECT_EQ(bad.out, "");
        EXPECT_EQ(bad.err.rfind("plx: error: ", 0), 0u) << bad.err;
    }
}

TEST(PlxEditor, MeterSvgRisesWithABurstAndFallsAfterIt) {
    PLX_REQUIRE_MIXMORPH();
    TempDir dir;
    const std::string in = (dir / "in.wav").string();
    const std::string svgPath = (dir / "meters.svg").string();
    const int rate = 48000;
    // Left: a 1 kHz tone of amplitude 0.5 (-6.02 dB) from 0.2 s to 0.4 s; right: silence.
    writeAudio(in, 2, rate, rate, [](int64_t frame, int channel) {
        const double t = static_cast<double>(frame) / 48000.0;
        return channel == 0 && t >= 0.2 && t < 0.4 ? 0.5 * std::sin(2 * M_PI * 1000.0 * t) : 0.0;
    });
    const PlxRun run =
        plx({"render", "--effect", "MixMorph", "--in", in, "--out", (dir / "out.wav").string(), "--in-layout",
             "Stereo", "--out-layout", "Stereo", "--meter-svg", svgPath, "--quiet"});
    ASSERT_EQ(run.status, 0) << run.err;
    const std::string svg = readText(svgPath);
    ASSERT_EQ(XmlLint::wellFormedError(svg), "");
    EXPECT_NE(svg.find(">peak -6.0 dB</text>"), std::string::npos);
    EXPECT_NE(svg.find(">peak -oo</text>"), std::string::npos);

    const std::vector<Point> row = firstMeterRow(svg, 1.0);
    ASSERT_GT(row.size(), 20u);
    double top = 0, topAt = 0;
    for (const Point& p : row) {
        if (p.seconds < 0.19) {
            EXPECT_NEAR(p.fraction, 0.0, 1e-6) << p.seconds;
        }
        if (p.fraction > top) top = p.fraction, topAt = p.seconds;
    }
    // -6.02 dB sits at 1 - 0.68 * 9.02 / 27 of the meter.
    EXPECT_NEAR(top, 1.0 - 0.68 * 9.0206 / 27.0, 0.01);
    EXPECT_GT(topAt, 0.2);
    EXPECT_LT(topAt, 0.45);
    // After the burst the meter falls at every update, and has not reached the floor.
    double last = top;
    for (const Point& p : row) {
        if (p.seconds < 0.45 || p.fraction == 0.0) continue; // the polygon closes on the baseline
        EXPECT_LT(p.fraction, last) << p.seconds;
        last = p.fraction;
    }
    EXPECT_LT(last, top - 0.2);
    EXPECT_GT(last, 0.1);

    // An unwritable meter file fails before any work and leaves nothing behind.
    const PlxRun bad =
        plx({"render", "--effect", "MixMorph", "--in", in, "--out", (dir / "out2.wav").string(),
             "--meter-svg", (dir / "no/such/dir/m.svg").string(), "--quiet"});
    EXPECT_EQ(bad.status, 1);
    EXPECT_FALSE(fs::exists(dir / "out2.wav"));
}
