// The peak display's and a level's texts, and the meter views as the editor
// gets them: built by name, sized and stopped by the processor's messages,
// and sending the resets that a click on a peak display asks for.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "editor/meter_text.h"
#include "editor/meter_view_factory.h"
#include "host/lib/message.h"

using namespace Tannhofen;
using namespace Tannhofen::Editor;

namespace {

constexpr MeterParameterIds kIds{407, 431, 455, 456};

Plx::IPtr<Host::HostMessage> message(const char* id,
                                     std::vector<std::pair<const char*, Plx::int64>> ints = {}) {
    auto m = Plx::IPtr<Host::HostMessage>::adopt(Host::HostMessage::create());
    m->setMessageID(id);
    for (auto& [name, value] : ints) m->getAttributes()->setInt(name, value);
    return m;
}

} // namespace

TEST(MeterText, PeakDisplayShowsDecibelsOrMinusInfinity) {
    EXPECT_EQ(peakDisplayText(2.0, 0.0).text, "6.0");
    EXPECT_TRUE(peakDisplayText(2.0, 0.0).overFullScale);
    EXPECT_EQ(peakDisplayText(1.0, 0.0).text, "0.0");
    EXPECT_FALSE(peakDisplayText(1.0, 0.0).overFullScale);
    // -0.0087 dB and -0.043 dB are within 0.05 dB of full scale: no "-0.0".
    EXPECT_EQ(peakDisplayText(0.999, 0.0).text, "0.0");
    EXPECT_EQ(peakDisplayText(0.995, 0.0).text, "0.0");
    EXPECT_EQ(peakDisplayText(0.5, 0.0).text, "-6.0");
    EXPECT_EQ(peakDisplayText(0.5, 0.0, "dB").text, "-6.0 dB");
    // Below the display's floor, and silence, read minus infinity.
    EXPECT_EQ(peakDisplayText(0.5, 0.6).text, "-oo");
    EXPECT_EQ(peakDisplayText(0.0, 0.0).text, "-oo");

    EXPECT_EQ(levelValueText(0.5), u"-6.0");
    EXPECT_EQ(levelValueText(0.5, "%.2f"), u"-6.02");
    EXPECT_EQ(levelValueText(2.0), u"6.0");
    for (double silent : {0.0, -1.0, 1e-10, 1e-12}) EXPECT_EQ(levelValueText(silent), u"-\u221E") << silent;
    EXPECT_EQ(levelValueText(1.01e-9), u"-179.9");
}

TEST(MeterViews, FactoryAnswersItsNamesAndDrawsPeaksInTheSkinsColours) {
    MeterViewFactory factory(kIds, {});
    EXPECT_EQ(factory.createView("meter"), nullptr);
    EXPECT_EQ(factory.createView(""), nullptr);
    auto* in = dynamic_cast<LevelMeterView*>(factory.createView("inputvu"));
    auto* out = dynamic_cast<LevelMeterView*>(factory.createView("outputvu"));
    auto* peak = dynamic_cast<PeakDisplayView*>(
        factory.createView("outputvumax", {{"ap.vu.norm", "#00ff00"}, {"ap.vu.peak", "#ff0000"}}));
    auto* inPeak = dynamic_cast<PeakDisplayView*>(factory.createView("inputvumax"));
    ASSERT_TRUE(in && out && peak && inPeak);
    EXPECT_TRUE(in->isInput());
    EXPECT_FALSE(out->isInput());
    EXPECT_EQ(in->getFirstParameterId(), 407);
    EXPECT_EQ(out->getFirstParameterId(), 431);
    EXPECT_EQ(inPeak->getNormalColour(), PeakDisplayView::kDefaultNormalColour);

    factory.notify(message("vuMetersProcessing", {{"vuMetersProcessing", 1}}).get());
    PeakDrawing drawn;
    factory.setParamValue(456, 2.0, 0.0);
    ASSERT_EQ(factory.drawPeak(*peak, drawn), Plx::kResultOk);
    EXPECT_EQ(drawn.text, "6.0");
    EXPECT_EQ(drawn.colour, "#ff0000");
    EXPECT_STREQ(drawn.font, "Arial");
    factory.setParamValue(456, 0.5, 0.0);
    factory.drawPeak(*peak, drawn);
    EXPECT_EQ(drawn.text, "-6.0");
    EXPECT_EQ(drawn.colour, "#00ff00");
    factory.setParamValue(5001, 0.6, 0.0); // the floor above the peak
    factory.drawPeak(*peak, drawn);
    EXPECT_EQ(drawn.text, "-oo");
    // A parameter layer that can't be read.
    EXPECT_EQ(peak->draw([](Plx::int32, double&) { return false; }, drawn),
              static_cast<Plx::tresult>(0x80004005u));
}

TEST(MeterViews, MessagesSizeTheMetersAndStopThemAtOnce) {
    MeterViewFactory factory(kIds, {});
    auto* in = dynamic_cast<LevelMeterView*>(factory.createView("inputvu"));
    auto* out = dynamic_cast<LevelMeterView*>(factory.createView("outputvu"));
    EXPECT_EQ(factory.notify(message("nChannels", {{"nChannelsIn", 12}, {"nChannelsOut", 2}}).get()),
              Plx::kResultOk);
    EXPECT_EQ(factory.noOfChannelsNeeded("inputvu"), 12);
    EXPECT_EQ(factory.noOfChannelsNeeded("outputvu"), 2);
    EXPECT_EQ(factory.noOfChannelsNeeded("outputvumax"), 0);
    EXPECT_EQ(in->getChannelCount(), 12);
    EXPECT_EQ(out->getChannelCount(), 2);

    // Before the processor says it runs, values don't move the meters.
    EXPECT_TRUE(factory.setParamValue(431, 0.5, 100.0));
    EXPECT_EQ(out->getLevel(0), 0.0f);
    factory.notify(message("vuMetersProcessing", {{"vuMetersProcessing", 1}}).get());
    EXPECT_TRUE(factory.isProcessing());
    EXPECT_TRUE(factory.setParamValue(431 + 1, 0.5, 200.0));
    EXPECT_TRUE(factory.setParamValue(407 + 11, 0.25, 200.0));
    EXPECT_FALSE(factory.setParamValue(431 + 2, 0.5, 200.0)); // no third output
    EXPECT_FLOAT_EQ(out->getLevel(1), 0.5f);
    EXPECT_FLOAT_EQ(in->getLevel(11), 0.25f);
    EXPECT_FLOAT_EQ(factory.getOutputLevels()[1], 0.5f);
    // View parameters reach the meters.
    EXPECT_TRUE(factory.setParamValue(5000, 3.0, 200.0));
    EXPECT_EQ(in->getMeterMode(), 3);

    // Stopped: every level reads 0 at once, with no fall; only 1 means running.
    for (Plx::int64 value : {0, 2, -1}) {
        factory.notify(message("vuMetersProcessing", {{"vuMetersProcessing", 1}}).get());
        factory.setParamValue(431 + 1, 0.5, 300.0 + static_cast<double>(value));
        factory.notify(message("vuMetersProcessing", {{"vuMetersProcessing", value}}).get());
        EXPECT_FALSE(factory.isProcessing());
        EXPECT_EQ(out->getLevel(1), 0.0f) << value;
        EXPECT_EQ(in->getLevel(11), 0.0f) << value;
        EXPECT_EQ(factory.getOutputLevels()[1], 0.0f);
    }
    factory.notify(message("vuMetersProcessing", {{"vuMetersProcessing", 1}}).get());
    factory.notify(message("vuMetersProcessing").get()); // no attribute: stopped
    EXPECT_FALSE(factory.isProcessing());

    // Counts stay within what a meter shows.
    factory.notify(message("nChannels", {{"nChannelsIn", 1000}, {"nChannelsOut", -3}}).get());
    EXPECT_EQ(in->getChannelCount(), 24);
    EXPECT_EQ(out->getChannelCount(), 0);
    EXPECT_EQ(factory.notify(message("gainMatrix").get()), Plx::kResultFalse);
}

TEST(MeterViews, PeakDisplayClickSendsTheMatchingReset) {
    for (bool metersAreOne : {false, true}) {
        std::vector<std::string> sent;
        MeterViewFactory factory(
            kIds,
            [&sent](const char* id) {
                sent.push_back(id);
                return Plx::kResultOk;
            },
            metersAreOne);
        MeterView* inPeak = factory.createView("inputvumax");
        MeterView* outPeak = factory.createView("outputvumax");
        MeterView* meter = factory.createView("outputvu");
        EXPECT_EQ(factory.click(inPeak), Plx::kResultOk);
        EXPECT_EQ(factory.click(outPeak), Plx::kResultOk);
        // Views that aren't this factory's peak displays do nothing.
        MeterViewFactory other(kIds, {});
        EXPECT_EQ(factory.click(other.createView("outputvumax")), Plx::kResultFalse);
        EXPECT_EQ(factory.click(meter), Plx::kResultFalse);
        EXPECT_EQ(factory.click(nullptr), Plx::kResultFalse);
        const char* outReset = metersAreOne ? "resetMaxLevelIn" : "resetMaxLevelOut";
        EXPECT_EQ(sent, (std::vector<std::string>{"resetMaxLevelIn", outReset})) << metersAreOne;
    }
}
