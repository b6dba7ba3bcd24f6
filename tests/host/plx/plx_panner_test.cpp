// RadialPanner through the plx binary: object mode's files (the objects'
// audio and their positions per slice) and the panner's demo scenes.
#include <cmath>

#include "tests/host/plx/plx_test_util.h"

using namespace PlxTest;

namespace {

struct Row {
    double time;
    int object;
    double x, y, z;
};

// The rows of a positions file, after checking its heading.
std::vector<Row> readRows(const fs::path& path) {
    std::istringstream lines(readText(path));
    std::string line;
    std::getline(lines, line);
    EXPECT_EQ(line, "time,object,x,y,z");
    std::vector<Row> rows;
    while (std::getline(lines, line)) {
        Row r{};
        EXPECT_EQ(std::sscanf(line.c_str(), "%lf,%d,%lf,%lf,%lf", &r.time, &r.object, &r.x, &r.y, &r.z), 5)
            << line;
        rows.push_back(r);
    }
    return rows;
}

// Two distinct tones, left and right.
double stereoTone(int64_t frame, int channel) {
    return 0.2 * std::sin(0.01 * static_cast<double>(frame) * (channel + 2) + channel);
}

TEST(PlxPanner, ObjectModeWritesEachObjectsChannelAndOnePositionPerSlice) {
    TempDir dir;
    const int rate = 48000;
    const int64_t frames = 4800; // 100 ms: 20 slices of 5 ms
    writeAudio(dir / "in.wav", 2, rate, frames, stereoTone);
    // The image sweeps from the centre to the right wall over the render.
    std::ofstream(dir / "sweep.txt") << "0 \"Left-Right Pan\" 0\n0.1 \"Left-Right Pan\" 100\n";
    const PlxRun run =
        plx({"render", "--effect", "RadialPanner", "--in", (dir / "in.wav").string(), "--out",
             (dir / "bed.wav").string(), "--out-layout", "5.1", "--set", "Object Mode On/Off=1",
             "--automation", (dir / "sweep.txt").string(), "--block", "1000"});
    ASSERT_EQ(run.status, 0) << run.err;
    EXPECT_NE(run.out.find("bed-objects.csv"), std::string::npos) << run.out;

    // The bed is silent and as long as the input.
    const Audio bed = readAudio(dir / "bed.wav");
    ASSERT_EQ(bed.frames, frames);
    EXPECT_EQ(bed.channels, 6);
    for (double v : bed.samples) ASSERT_EQ(v, 0.0);
    // Each object carries its input channel, sample for sample.
    for (int k = 0; k < 2; ++k) {
        const Audio object = readAudio(dir / ("bed-object-" + std::to_string(k + 1) + ".wav"));
        ASSERT_EQ(object.channels, 1);
        ASSERT_EQ(object.frames, frames);
        for (int64_t f = 0; f < frames; ++f)
            ASSERT_NEAR(object.at(f, 0), stereoTone(f, k), 1e-7) << "object " << k + 1 << " frame " << f;
    }

    // One row per object and slice, slice after slice, 5 ms apart.
    const std::vector<Row> rows = readRows(dir / "bed-objects.csv");
    ASSERT_EQ(rows.size(), 40u);
    for (size_t i = 0; i < rows.size(); ++i) {
        EXPECT_EQ(rows[i].object, static_cast<int>(i % 2) + 1);
        EXPECT_NEAR(rows[i].time, 0.005 * static_cast<double>(i / 2), 1e-9);
        EXPECT_EQ(rows[i].z, 0.0);
        EXPECT_NEAR(rows[i].y, 1.0, 1e-6); // at the front, the default for a stereo source
    }
    // The image starts at the centre, its channels one stage width apart at
    // the side walls, and moves right with the straight-line automation: the
    // right channel holds at the wall, the left one moves by equal steps per
    // slice (each slice takes the value at its last sample) until it too
    // reaches the wall.
    const size_t slices = rows.size() / 2;
    const double step = (rows[2 * slices - 2].x - rows[0].x) / static_cast<double>(slices - 1);
    EXPECT_GT(rows[0].x, -1.0);
    EXPECT_NEAR(rows[0].x, -1.0 + step, 0.01);
    EXPECT_NEAR(rows[2 * slices - 2].x, 1.0, 1e-3);
    for (size_t k = 0; k < slices; ++k) {
        EXPECT_NEAR(rows[2 * k].x, rows[0].x + step * static_cast<double>(k), 1e-4) << k;
        EXPECT_NEAR(rows[2 * k + 1].x, 1.0, 1e-6) << k;
    }

    // Without object mode: sound on the speakers, no object files.
    TempDir plain;
    ASSERT_EQ(plx({"render", "--effect", "RadialPanner", "--in", (dir / "in.wav").string(), "--out",
                   (plain / "out.wav").string(), "--out-layout", "5.1", "--quiet"})
                  .status,
              0);
    EXPECT_EQ(plain.names(), std::set<std::string>{"out.wav"});
    // Object mode on standard output needs a place for the objects.
    const PlxRun piped = plx({"render", "--effect", "RadialPanner", "--in", (dir / "in.wav").string(),
                              "--out", "-", "--set", "Object Mode On/Off=1"},
                             "exec >/dev/null;");
    EXPECT_EQ(piped.status, 1);
    EXPECT_NE(piped.err.find("--objects PREFIX"), std::string::npos) << piped.err;
}

TEST(PlxPanner, DemoOrbitsAMonoSourceAndTurnsAStereoImage) {
    TempDir dir;
    const PlxRun run = plx({"demo", "--out", (dir / "demo").string(), "--quiet"});
    ASSERT_EQ(run.status, 0) << run.err;
    for (const char* stem : {"demo/panner-orbit-mono-to-7.1.4", "demo/panner-rotation-stereo-to-5.1"}) {
        const std::string base = (dir / stem).string();
        for (const char* drawing : {"-trajectory.svg", "-gains.svg"}) {
            const std::string svg = readText(base + drawing);
            EXPECT_EQ(svg.rfind("<svg", 0), 0u) << base << drawing;
            EXPECT_NE(svg.find("<polyline"), std::string::npos) << base << drawing;
            EXPECT_NE(svg.find("</svg>"), std::string::npos) << base << drawing;
        }
    }
    // The orbit: two turns on the circle through the walls, in 8 s, rising to
    // the top over the first turn and back down over the second.
    const std::vector<Row> orbit = readRows(dir / "demo/panner-orbit-mono-to-7.1.4-objects.csv");
    ASSERT_EQ(orbit.size(), 1600u);
    double top = 0.0, turned = 0.0;
    for (size_t i = 0; i < orbit.size(); ++i) {
        const double radius = std::hypot(orbit[i].x, orbit[i].y);
        EXPECT_GT(radius, 0.99) << orbit[i].time;       // the chords between automation points
        EXPECT_LT(radius, 1.0 + 1e-4) << orbit[i].time; // the automation's two decimals
        if (i > 0)
            turned += std::remainder(
                std::atan2(orbit[i].x, orbit[i].y) - std::atan2(orbit[i - 1].x, orbit[i - 1].y), 2 * M_PI);
        if (orbit[i].z > top) top = orbit[i].z;
    }
    EXPECT_NEAR(turned, 4 * M_PI, 0.05); // clockwise from above: x grows from the front
    EXPECT_NEAR(top, 1.0, 0.01);
    EXPECT_LT(orbit.front().z, 0.01);
    EXPECT_LT(orbit.back().z, 0.01);
    // The speakers: at the start the source is in front, on C; a
    // quarter turn later it is at the right wall, and C is silent.
    const Audio speakers = readAudio(dir / "demo/panner-orbit-mono-to-7.1.4.wav");
    ASSERT_EQ(speakers.channels, 12);
    auto power = [&](int channel, double from) {
        double sum = 0.0;
        const auto start = static_cast<int64_t>(from * speakers.rate);
        for (int64_t f = start; f < start + 480; ++f)
            sum += speakers.at(f, channel) * speakers.at(f, channel);
        return sum;
    };
    double front = 0.0, side = 0.0;
    for (int c = 0; c < 12; ++c) front += power(c, 0.05), side += power(c, 1.0);
    EXPECT_GT(power(2, 0.05), 0.95 * front); // C, the source barely moved yet
    EXPECT_LT(power(2, 1.0), 1e-6 * side);

    // The stereo image turns once round the listener: left and right stay
    // opposite each other.
    const std::vector<Row> turn = readRows(dir / "demo/panner-rotation-stereo-to-5.1-objects.csv");
    ASSERT_EQ(turn.size(), 3200u);
    for (size_t i = 0; i + 1 < turn.size(); i += 2) {
        EXPECT_NEAR(turn[i].x, -turn[i + 1].x, 1e-5) << turn[i].time;
        EXPECT_NEAR(turn[i].y, -turn[i + 1].y, 1e-5) << turn[i].time;
    }
    EXPECT_NEAR(turn.front().x, -1.0, 0.01);
    EXPECT_NEAR(turn[800].y, 1.0, 0.01); // a quarter turn: the left channel in front
}

} // namespace
