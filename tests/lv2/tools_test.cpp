// The bundle seen through lilv's tools, as Linux hosts see it: lv2_validate
// checks its Turtle, lv2ls and lv2info list its plug-ins and ports, lv2apply
// renders files through them, which must sound as plx renders them.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <sstream>

#include "frame/class_ids.h"
#include "lv2/configurations.h"
#include "lv2/port_layout.h"
#include "tests/host/plx/plx_test_util.h"
#include "tests/lv2/lv2_test_host.h"
#include "tests/support/random_signal.h"

namespace {

using namespace Tannhofen;
using PlxTest::quote;

// The folder that holds the bundle, as LV2_PATH names it.
std::string lv2Path() {
    return std::filesystem::path(PLX_LV2_BUNDLE).parent_path().string();
}

// Runs `command` (already quoted) with LV2_PATH on the bundle; stdout and
// stderr together. Under AddressSanitizer the tools, which aren't built with
// it, get its runtime preloaded so that they can load the bridge.
PlxTest::PlxRun tool(const std::string& command) {
    static PlxTest::TempDir capture;
    std::string env = "env LV2_PATH=" + quote(lv2Path());
#ifdef PLX_ASAN_RUNTIME
    env += " LD_PRELOAD=" + quote(PLX_ASAN_RUNTIME) + " ASAN_OPTIONS=detect_leaks=0";
#endif
    const std::string out = (capture / "out").string();
    PlxTest::PlxRun run;
    const int raw = std::system((env + " " + command + " >" + quote(out) + " 2>&1").c_str());
    run.status = WIFEXITED(raw) ? WEXITSTATUS(raw) : -1;
    run.out = PlxTest::readText(out);
    return run;
}

// The configurations whose effect the module can create, so that hosts see them.
std::vector<const Lv2::Configuration*> creatable() {
    std::vector<const Lv2::Configuration*> result;
    for (const Lv2::Configuration& config : Lv2::configurations())
        if (Lv2Test::moduleCreates(config.processorClass)) result.push_back(&config);
    return result;
}

TEST(Lv2Tools, TurtlePassesLv2Validate) {
    const PlxTest::PlxRun run = tool("lv2_validate " + quote(std::string(PLX_LV2_BUNDLE) + "/manifest.ttl") +
                                     " " + quote(std::string(PLX_LV2_BUNDLE) + "/Tannhofen.ttl"));
    EXPECT_EQ(run.status, 0) << run.out;
    EXPECT_NE(run.out.find("Found 0 errors"), std::string::npos) << run.out;
}

struct InfoPort {
    std::string symbol, name, type;
    double minimum = NAN, maximum = NAN, defaultValue = NAN;
    std::string properties;
};

std::string trimmed(const std::string& text) {
    const size_t first = text.find_first_not_of(" \t");
    const size_t last = text.find_last_not_of(" \t");
    return first == std::string::npos ? "" : text.substr(first, last - first + 1);
}

// The ports of lv2info's listing, in index order. A field's further values
// follow on lines of their own.
std::vector<InfoPort> infoPorts(const std::string& listing) {
    std::vector<InfoPort> ports;
    std::istringstream lines(listing);
    std::string* list = nullptr; // Type or Properties, which may go on
    for (std::string line; std::getline(lines, line);) {
        const std::string text = trimmed(line);
        if (line.rfind("\tPort ", 0) == 0) {
            ports.emplace_back();
            list = nullptr;
        } else if (ports.empty() || text.empty()) {
            continue;
        } else if (text.rfind("http", 0) == 0) {
            if (list) *list += text + " ";
        } else if (const size_t colon = text.find(':'); colon != std::string::npos) {
            InfoPort& p = ports.back();
            const std::string key = text.substr(0, colon), value = trimmed(text.substr(colon + 1));
            list = key == "Type" ? &p.type : key == "Properties" ? &p.properties : nullptr;
            if (list) *list += value + " ";
            if (key == "Symbol") p.symbol = value;
            if (key == "Name") p.name = value;
            if (key == "Minimum") p.minimum = std::stod(value);
            if (key == "Maximum") p.maximum = std::stod(value);
            if (key == "Default") p.defaultValue = std::stod(value);
        }
    }
    return ports;
}

// lv2ls lists exactly the plug-ins of the effects the module can create;
// lv2info gives each one audio port per speaker, in bus order, the controls
// with the ranges of the parameters, and the latency on the last port.
TEST(Lv2Tools, Lv2lsAndLv2infoListEveryConfigurationWithItsPorts) {
    const std::vector<const Lv2::Configuration*> expected = creatable();
    ASSERT_FALSE(expected.empty());
    const PlxTest::PlxRun ls = tool("lv2ls");
    std::set<std::string> listed;
    std::istringstream lines(ls.out);
    for (std::string line; std::getline(lines, line);)
        if (line.find(Lv2::kUriBase) == 0) listed.insert(line);
    std::set<std::string> wanted;
    for (const Lv2::Configuration* config : expected) wanted.insert(Lv2::pluginUri(*config));
    EXPECT_EQ(listed, wanted) << ls.out;

    for (const Lv2::Configuration* config : expected) {
        const std::string uri = Lv2::pluginUri(*config);
        SCOPED_TRACE(uri);
        const PlxTest::PlxRun info = tool("lv2info " + quote(uri));
        ASSERT_EQ(info.status, 0) << info.out;
        const std::vector<InfoPort> ports = infoPorts(info.out);
        const int ins = Plx::channelCount(config->input), outs = Plx::channelCount(config->output);
        ASSERT_GT(ports.size(), static_cast<size_t>(ins + outs + 1));
        int audioIn = 0, audioOut = 0, controls = 0;
        for (const InfoPort& port : ports) {
            const bool audio = port.type.find("AudioPort") != std::string::npos;
            const bool input = port.type.find("InputPort") != std::string::npos;
            audioIn += audio && input;
            audioOut += audio && !input;
            controls += !audio && input;
        }
        EXPECT_EQ(audioIn, ins);
        EXPECT_EQ(audioOut, outs);
        // The converter and the panner offer many settings; the decoder's
        // automatable ones are the head's rotation and the levels its output uses.
        if (config->processorClass == Plx::kAmbiBinProcessorUID) {
            for (const char* symbol :
                 {"yaw_rotation", "pitch_rotation", "roll_rotation", "head_locked_signal"})
                EXPECT_TRUE(std::any_of(ports.begin(), ports.end(), [&](const InfoPort& port) {
                    return port.symbol == symbol;
                })) << symbol;
        } else {
            EXPECT_GE(controls, 8);
        }
        EXPECT_EQ(ports.back().symbol, "latency");
        EXPECT_NE(info.out.find("reported by port " + std::to_string(ports.size() - 1)), std::string::npos);
    }

    // One plug-in checked port by port, against values worked out by hand:
    // 5.1's speakers in bit order, levels from silence (-180 dB) to twice
    // the gain (20 log10 2 = 6.0206 dB), the centre at -3.0103 dB (1/sqrt 2)
    // and the whole mix at 0 dB to start with, the low-pass a toggle.
    const PlxTest::PlxRun info =
        tool("lv2info " + quote(std::string(Lv2::kUriBase) + "mixmorph/5.1-to-stereo"));
    const std::vector<InfoPort> ports = infoPorts(info.out);
    const std::vector<std::string> names = {"In L",  "In R",  "In C",  "In LFE",
                                            "In Ls", "In Rs", "Out L", "Out R"};
    ASSERT_GE(ports.size(), names.size());
    for (size_t i = 0; i < names.size(); ++i) EXPECT_EQ(ports[i].name, names[i]);
    std::map<std::string, const InfoPort*> bySymbol;
    for (const InfoPort& port : ports) bySymbol[port.symbol] = &port;
    ASSERT_TRUE(bySymbol.count("center_level") && bySymbol.count("global_level") &&
                bySymbol.count("low_pass_filter"));
    EXPECT_EQ(bySymbol["center_level"]->name, "Center Level");
    EXPECT_NEAR(bySymbol["center_level"]->minimum, -180.0, 1e-6);
    EXPECT_NEAR(bySymbol["center_level"]->maximum, 20.0 * std::log10(2.0), 1e-5);
    EXPECT_NEAR(bySymbol["center_level"]->defaultValue, 20.0 * std::log10(1.0 / std::sqrt(2.0)), 1e-5);
    EXPECT_NEAR(bySymbol["global_level"]->defaultValue, 0.0, 1e-6);
    EXPECT_NE(bySymbol["low_pass_filter"]->properties.find("toggled"), std::string::npos);
}

// Writes `channels` of noise, one seed each, as a float WAV.
void writeNoise(const std::filesystem::path& path, int channels, int64_t frames, unsigned seed,
                int silentChannel = -1) {
    std::vector<std::vector<float>> noise;
    for (int c = 0; c < channels; ++c) {
        std::vector<float> v =
            randomVector<float>(static_cast<size_t>(frames), seed + static_cast<unsigned>(c));
        if (c == silentChannel) std::fill(v.begin(), v.end(), 0.0f);
        noise.push_back(std::move(v));
    }
    PlxTest::writeAudio(
        path, channels, 48000, frames,
        [&](int64_t f, int c) { return 0.5 * noise[static_cast<size_t>(c)][static_cast<size_t>(f)]; },
        SF_FORMAT_WAV | SF_FORMAT_FLOAT);
}

double maxDifference(const PlxTest::Audio& a, const PlxTest::Audio& b) {
    EXPECT_EQ(a.samples.size(), b.samples.size());
    double worst = 0.0;
    for (size_t i = 0; i < std::min(a.samples.size(), b.samples.size()); ++i)
        worst = std::max(worst, std::fabs(a.samples[i] - b.samples[i]));
    return worst;
}

double peak(const PlxTest::Audio& a) {
    double p = 0.0;
    for (double x : a.samples) p = std::max(p, std::fabs(x));
    return p;
}

// lv2apply through every converter plug-in, with a level and the low-pass
// set on the command line, gives what plx renders with the same settings.
// A level at -inf takes its channel out: the same as the input without it.
TEST(Lv2Tools, Lv2applyRendersLikePlxRender) {
    PlxTest::TempDir dir;
    for (const Lv2::Configuration& config : Lv2::configurations()) {
        if (config.processorClass != Plx::kMatrixMixerProcessorUID) continue;
        const std::string uri = Lv2::pluginUri(config);
        SCOPED_TRACE(uri);
        const std::string in = (dir / "in.wav").string();
        writeNoise(in, Plx::channelCount(config.input), 4800, 100);
        const PlxTest::PlxRun lv2 =
            tool("lv2apply -i " + quote(in) + " -o " + quote((dir / "lv2.wav").string()) +
                 " -c center_level -4.5 -c low_pass_filter 1 " + quote(uri));
        ASSERT_EQ(lv2.status, 0) << lv2.out;
        const PlxTest::PlxRun plx = PlxTest::plx(
            {"render", "--effect", "MixMorph", "--in", in, "--out", (dir / "plx.wav").string(), "--in-layout",
             Lv2::arrangementName(config.input), "--out-layout", Lv2::arrangementName(config.output), "--set",
             "Center Level=-4.5dB", "--set", "Low Pass Filter=1", "--quiet"});
        ASSERT_EQ(plx.status, 0) << plx.err;
        const PlxTest::Audio fromLv2 = PlxTest::readAudio(dir / "lv2.wav");
        const PlxTest::Audio fromPlx = PlxTest::readAudio(dir / "plx.wav");
        ASSERT_EQ(fromLv2.channels, Plx::channelCount(config.output));
        ASSERT_GT(peak(fromPlx), 0.1);
        EXPECT_LE(maxDifference(fromLv2, fromPlx), 1e-6 * peak(fromPlx));
    }

    const std::string uri = std::string(Lv2::kUriBase) + "mixmorph/5.1-to-stereo";
    writeNoise(dir / "in.wav", 6, 4800, 200);
    writeNoise(dir / "no-centre.wav", 6, 4800, 200, 2);
    ASSERT_EQ(tool("lv2apply -i " + quote((dir / "in.wav").string()) + " -o " +
                   quote((dir / "muted.wav").string()) + " -c center_level -inf " + quote(uri))
                  .status,
              0);
    ASSERT_EQ(tool("lv2apply -i " + quote((dir / "no-centre.wav").string()) + " -o " +
                   quote((dir / "reference.wav").string()) + " " + quote(uri))
                  .status,
              0);
    const PlxTest::Audio muted = PlxTest::readAudio(dir / "muted.wav");
    const PlxTest::Audio reference = PlxTest::readAudio(dir / "reference.wav");
    ASSERT_GT(peak(reference), 0.1);
    EXPECT_LE(maxDifference(muted, reference), 1e-6 * peak(reference));
}

} // namespace
