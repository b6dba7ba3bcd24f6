// The port layout and the Turtle writer on their own: port names by speaker,
// the conversion of a port's value into the parameter's normalized value, and
// the literals the Turtle carries.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <set>

#include "frame/class_ids.h"
#include "host/lib/host_application.h"
#include "host/lib/module.h"
#include "host/lib/plugin.h"
#include "lv2/configurations.h"
#include "lv2/port_layout.h"
#include "lv2/turtle.h"

namespace {

using namespace Tannhofen;
namespace Layout = Plx::Layout;

std::vector<std::string> symbols(const std::vector<Lv2::AudioPort>& ports) {
    std::vector<std::string> result;
    for (const Lv2::AudioPort& port : ports) result.push_back(port.symbol);
    return result;
}

TEST(Lv2PortLayout, AudioPortsFollowTheSpeakersInBusOrder) {
    // 7.1.4 in bit order: L R C LFE Ls Rs, the sides, then the four tops.
    EXPECT_EQ(symbols(Lv2::audioPorts(Layout::k7_1_4, "in")),
              (std::vector<std::string>{"in_l", "in_r", "in_c", "in_lfe", "in_ls", "in_rs", "in_sl", "in_sr",
                                        "in_tfl", "in_tfr", "in_trl", "in_trr"}));
    const std::vector<Lv2::AudioPort> ambi = Lv2::audioPorts(Layout::kAmbi2, "out");
    ASSERT_EQ(ambi.size(), 9u);
    for (size_t i = 0; i < ambi.size(); ++i) {
        EXPECT_EQ(ambi[i].symbol, "out_acn" + std::to_string(i));
        EXPECT_EQ(ambi[i].name, "Out ACN " + std::to_string(i));
    }
    // 22.2 has two LFEs and the bottom row; every symbol is distinct.
    const std::vector<Lv2::AudioPort> big = Lv2::audioPorts(Layout::k22_2, "in");
    EXPECT_EQ(big.size(), 24u);
    const std::vector<std::string> bigSymbols = symbols(big);
    EXPECT_EQ(std::set<std::string>(bigSymbols.begin(), bigSymbols.end()).size(), 24u);
    EXPECT_EQ(big[18].name, "In LFE2");
}

// Every plug-in has its own URI, and the URIs read as the buses.
TEST(Lv2PortLayout, EveryConfigurationHasItsOwnUri) {
    std::set<std::string> uris;
    for (const Lv2::Configuration& config : Lv2::configurations()) uris.insert(Lv2::pluginUri(config));
    EXPECT_EQ(uris.size(), Lv2::configurations().size());
    EXPECT_TRUE(uris.count("https://www.tannhofen.de/lv2/mixmorph/7.1.4-to-5.1"));
    EXPECT_TRUE(uris.count("https://www.tannhofen.de/lv2/spheredecoder/3rd-order-ambisonics-to-stereo"));
}

// The converter's controls as the bridge converts them: decibels through the
// parameter's own law, clamped to the range, -inf to silence, toggles on
// above 0, and back again to the same decibels.
TEST(Lv2PortLayout, PortValuesGoThroughTheParametersConversion) {
    auto module = Host::Module::load(PLX_MODULE_PATH);
    auto host = Plx::IPtr<Host::HostApplication>::adopt(Host::HostApplication::create());
    auto plugin = Host::Plugin::create(module->factory(), Plx::kMatrixMixerProcessorUID, host.get());
    Plx::SpeakerArrangement in = Layout::k5_1, out = Layout::kStereo;
    ASSERT_EQ(plugin->processor()->setBusArrangements(&in, 1, &out, 1), Plx::kResultOk);
    Plx::IPlxEditController* controller = plugin->controller();
    const Lv2::PortLayout layout = Lv2::describePorts(in, out, controller);
    EXPECT_EQ(layout.count(), layout.latencyIndex() + 1);

    const Lv2::ControlPort* center = nullptr;
    const Lv2::ControlPort* lowPass = nullptr;
    for (const Lv2::ControlPort& port : layout.controls) {
        if (port.symbol == "center_level") center = &port;
        if (port.symbol == "low_pass_filter") lowPass = &port;
    }
    ASSERT_TRUE(center && lowPass);
    EXPECT_FALSE(center->toggle);
    EXPECT_TRUE(lowPass->toggle);
    EXPECT_EQ(center->units, "dB");

    EXPECT_EQ(Lv2::portToNormalized(*center, -INFINITY, controller), 0.0);
    EXPECT_EQ(Lv2::portToNormalized(*center, -180.0, controller), 0.0);
    EXPECT_EQ(Lv2::portToNormalized(*center, 40.0, controller), 1.0);
    for (double db : {-60.0, -12.5, -3.0, 0.0, 3.5, 6.0}) {
        const double normalized = Lv2::portToNormalized(*center, db, controller);
        EXPECT_EQ(normalized, controller->plainParamToNormalized(center->id, db));
        EXPECT_NEAR(Lv2::normalizedToPort(*center, normalized, controller), db,
                    1e-5); // the law runs in float
    }
    for (double value : {0.3, 1.0, 7.0}) EXPECT_EQ(Lv2::portToNormalized(*lowPass, value, controller), 1.0);
    for (double value : {0.0, -0.5}) EXPECT_EQ(Lv2::portToNormalized(*lowPass, value, controller), 0.0);
}

TEST(Lv2Turtle, LiteralsReadBackAsWritten) {
    for (double value : {-180.0, 20.0 * std::log10(2.0), -3.0102999566398, 0.0, 1.0, 1e-7, 12345678.0, 0.1}) {
        const std::string text = Lv2::turtleNumber(value);
        EXPECT_NE(text.find_first_of(".e"), std::string::npos) << text; // a decimal or double, not an integer
        EXPECT_EQ(static_cast<float>(std::strtod(text.c_str(), nullptr)), static_cast<float>(value)) << text;
    }
    EXPECT_EQ(Lv2::turtleNumber(-180.0), "-180.0");
    EXPECT_EQ(Lv2::turtleString("a \"b\" \\c\nd"), "\"a \\\"b\\\" \\\\c\\nd\"");
    EXPECT_EQ(Lv2::turtleUnit("dB"), "units:db");
    EXPECT_EQ(Lv2::turtleUnit(""), "");
    const std::string own = Lv2::turtleUnit("turns");
    EXPECT_NE(own.find("units:symbol \"turns\""), std::string::npos) << own;
}

} // namespace
