// RPannerController on its own, as the editor drives it: compound controls,
// key commands, radio groups, reset, position touch and what it tells the
// host's surround context.
#include <gtest/gtest.h>

#include <algorithm>

#include "frame/speaker_layouts.h"
#include "host/lib/component_handler.h"
#include "host/lib/host_application.h"
#include "panner/rpanner_controller.h"

namespace {

using namespace Tannhofen;
using Edit = Host::ComponentHandler::Edit;
using EditKind = Host::ComponentHandler::EditKind;
using Plx::IPtr;
using Plx::ParamID;
namespace Layout = Plx::Layout;

struct ControllerFixture {
    explicit ControllerFixture(Plx::SpeakerArrangement in, Plx::SpeakerArrangement out = Layout::k5_1) {
        controller->initialize(host->unknown());
        controller->setComponentHandler(handler.get());
        controller->arrangementsChanged(in, out, true);
        handler->clear();
    }
    ~ControllerFixture() {
        controller->setComponentHandler(nullptr);
        controller->terminate();
    }
    double value(ParamID id) { return controller->getParamNormalized(id); }
    double editor(ParamID id) { return controller->getEditorParameter(id)->getNormalized(); }
    // The performed edits, in order.
    std::vector<std::pair<ParamID, double>> performed() const {
        std::vector<std::pair<ParamID, double>> list;
        for (const Edit& e : handler->edits)
            if (e.kind == EditKind::Perform) list.emplace_back(e.id, e.value);
        return list;
    }

    IPtr<Host::HostApplication> host = IPtr<Host::HostApplication>::adopt(Host::HostApplication::create());
    IPtr<Host::ComponentHandler> handler =
        IPtr<Host::ComponentHandler>::adopt(Host::ComponentHandler::create());
    IPtr<Panner::RPannerController> controller =
        IPtr<Panner::RPannerController>::adopt(new Panner::RPannerController);
};

TEST(PannerController, CompoundControlsBecomePlainParameters) {
    {
        // A counter shot goes to the opposite side of the orbit.
        ControllerFixture f(Layout::kMono);
        f.controller->setParamNormalized(257, 0.75);
        f.controller->setParamNormalized(258, 1.0);
        EXPECT_NEAR(f.value(257), 0.25, 1e-6);
        // The centre went with it, and the host heard of posX and posY.
        EXPECT_NEAR(f.value(0), f.controller->getModel().getParamValue(0), 1e-7);
        const auto edits = f.performed();
        EXPECT_TRUE(std::any_of(edits.begin(), edits.end(), [](auto& e) { return e.first == 0; }));
        EXPECT_TRUE(std::any_of(edits.begin(), edits.end(), [](auto& e) { return e.first == 1; }));
    }
    {
        // With one front channel both handles are one point.
        ControllerFixture f(Layout::kMono);
        f.controller->setParamNormalized(262, 0.3);
        EXPECT_NEAR(f.value(264), 0.3, 1e-6);
    }
    {
        // The numeric pad: key 26 with the jump modifier puts the centre at
        // the middle of the rear wall, on the stage of 2 that a stereo image
        // spans: ((0.5, 1) + 0.5) / 2.
        ControllerFixture f(Layout::kStereo);
        EXPECT_TRUE(f.controller->onKey(26, Panner::KeyModifier::kJump));
        EXPECT_NEAR(f.value(0), 0.5, 1e-6);
        EXPECT_NEAR(f.value(1), 0.75, 1e-6);
        EXPECT_FALSE(f.controller->onKey(26, 0));
        EXPECT_FALSE(f.controller->onKey(40, Panner::KeyModifier::kJump));
        // The solo modifier toggles the key's speaker, exclusively when asked.
        EXPECT_TRUE(f.controller->onKey(31, Panner::KeyModifier::kSolo)); // L
        EXPECT_TRUE(f.controller->onKey(33, Panner::KeyModifier::kSolo)); // R
        EXPECT_EQ(f.value(17), 1.0);
        EXPECT_EQ(f.value(18), 1.0);
        EXPECT_TRUE(f.controller->onKey(32, Panner::KeyModifier::kSolo, true)); // C alone
        EXPECT_EQ(f.value(17) + f.value(18), 0.0);
        EXPECT_EQ(f.value(19), 1.0);
        EXPECT_TRUE(f.controller->onKey(29, Panner::KeyModifier::kSolo)); // clears all
        EXPECT_EQ(f.value(19), 0.0);
    }
}

TEST(PannerController, RadioGroupsAndZones) {
    ControllerFixture f(Layout::kStereo);
    // Zone mode 3 shows C and the two rear surrounds.
    f.controller->setParamNormalized(116, 3.0 / 5.0);
    const double expected[7] = {0, 0, 1, 0, 0, 1, 1};
    for (int z = 0; z < 7; ++z) EXPECT_EQ(f.editor(800 + z), expected[z]) << z;
    // A pattern button sets the mode; the others of the group go off.
    f.controller->setParamNormalized(505, 1.0);
    EXPECT_NEAR(f.value(111), 3.0 / 7.0, 1e-6);
    f.controller->setParamNormalized(507, 1.0);
    EXPECT_NEAR(f.value(111), 5.0 / 7.0, 1e-6);
    EXPECT_EQ(f.editor(505), 0.0);
    EXPECT_EQ(f.editor(511), 1.0);
    // A mode from the host moves the radio group.
    f.controller->setParamNormalized(111, 2.0 / 7.0);
    EXPECT_EQ(f.editor(504), 1.0);
    EXPECT_EQ(f.editor(507), 0.0);
    // Switching patterns off returns to the manual height.
    f.controller->setParamNormalized(511, 0.0);
    EXPECT_EQ(f.value(111), 0.0);
}

TEST(PannerController, ResetClearsThePatternFirstSoThatTheHeightReturns) {
    ControllerFixture f(Layout::kMono, Layout::k7_1_4);
    f.controller->setParamNormalized(2, 0.8);
    f.controller->setParamNormalized(111, 3.0 / 7.0);
    f.controller->setParamNormalized(0, 0.1);
    f.controller->setParamNormalized(7, 0.6);
    f.handler->clear();
    f.controller->setParamNormalized(256, 1.0);
    EXPECT_EQ(f.value(111), 0.0);
    EXPECT_EQ(f.value(2), 0.0);
    EXPECT_EQ(f.value(0), 0.5);
    EXPECT_EQ(f.value(7), 0.0);
    EXPECT_EQ(f.value(256), 0.0);
    EXPECT_EQ(f.controller->getModel().getPose().posZ, 0.0f);
    // The host hears the mode before the height, in one group.
    const auto edits = f.performed();
    const auto mode = std::find_if(edits.begin(), edits.end(), [](auto& e) { return e.first == 111; });
    const auto height = std::find_if(edits.begin(), edits.end(), [](auto& e) { return e.first == 2; });
    ASSERT_NE(mode, edits.end());
    ASSERT_NE(height, edits.end());
    EXPECT_LT(mode, height);
    EXPECT_EQ(f.handler->openGroupEdits, 0);
}

TEST(PannerController, EditsOfTheImageTouchThePosition) {
    ControllerFixture f(Layout::kStereo);
    f.controller->beginEdit(0);
    f.controller->beginEdit(202); // a second control while the first is held
    f.controller->endEdit(0);
    EXPECT_EQ(f.value(285), 1.0);
    f.controller->endEdit(202);
    EXPECT_EQ(f.value(285), 0.0);
    const auto edits = f.performed();
    ASSERT_EQ(edits.size(), 2u);
    EXPECT_EQ(edits[0], std::make_pair(ParamID(285), 1.0));
    EXPECT_EQ(edits[1], std::make_pair(ParamID(285), 0.0));

    // The orbit holds the edits of its targets open while it is held.
    f.handler->clear();
    f.controller->beginEdit(257);
    std::vector<ParamID> begun;
    for (const Edit& e : f.handler->edits)
        if (e.kind == EditKind::Begin) begun.push_back(e.id);
    EXPECT_EQ(begun, (std::vector<ParamID>{257, 0, 285, 1, 202, 104}));
    f.controller->endEdit(257);
    int open = 0;
    for (const Edit& e : f.handler->edits)
        open += e.kind == EditKind::Begin ? 1 : e.kind == EditKind::End ? -1 : 0;
    EXPECT_EQ(open, 0);
    EXPECT_EQ(f.controller->endEdit(0), Plx::kResultFalse); // nothing open
}

TEST(PannerController, TheSurroundContextLearnsTheLayouts) {
    ControllerFixture f(Layout::kStereo, Layout::k7_1_4);
    Plx::IPlxAttributes* list = f.host->getAttributes(Panner::RPannerController::kSurroundSection);
    int64_t v = -1;
    ASSERT_EQ(list->getInt("OutputSpeakerArrangementIs3D", &v), Plx::kResultOk);
    EXPECT_EQ(v, 1);
    list->getInt("InputSpeakerArrangementIs3D", &v);
    EXPECT_EQ(v, 0);
    list->getInt("InputSpeakerArrangement", &v);
    EXPECT_EQ(Plx::kArrangements[v].mask, Layout::kStereo);
    f.controller->arrangementsChanged(Layout::kMono, Layout::kAmbi2, true);
    list->getInt("OutputSpeakerArrangementIsAmbisonics", &v);
    EXPECT_EQ(v, 1);
    // The ambisonic output puts the source at ear height.
    EXPECT_EQ(f.value(2), 0.5);
    // A layout that is only above and below the ear counts as 3D too.
    f.controller->arrangementsChanged(Layout::kMono, Layout::kStereoTflTfr | Layout::kStereoBflBfr, true);
    list->getInt("OutputSpeakerArrangementIs3D", &v);
    EXPECT_EQ(v, 1);
    f.controller->arrangementsChanged(Layout::kMono, Layout::kStereoTflTfr, true);
    list->getInt("OutputSpeakerArrangementIs3D", &v);
    EXPECT_EQ(v, 0);
}

} // namespace
