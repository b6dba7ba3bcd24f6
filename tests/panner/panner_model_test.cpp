// RPannerModel through its setters, as the processor and the controller
// drive it: gains by the law, worked out by hand; power and symmetry over
// sweeps; the two instances kept alike by the parameter stream; bad input.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

#include "tests/panner/panner_test_util.h"
#include "tests/support/rt_guard.h"

namespace Tannhofen::Panner {
namespace {

using namespace Test;
namespace Spk = Plx::Speaker;

constexpr float kHalf = 0.70710677f; // sqrt(1/2)
constexpr float kTol = 2e-6f;

// Expects the main outputs of bus input `in` to be `want` (by bus output channel).
void expectRow(const RPannerModel& model, int32_t in, const std::vector<float>& want) {
    for (size_t out = 0; out < want.size(); ++out)
        EXPECT_NEAR(gain(model, in, static_cast<int32_t>(out)), want[out], kTol)
            << "in " << in << " out " << out;
}

TEST(PannerModelGains, DefaultImagesLandOnTheirOwnSpeakers) {
    // Into 5.1 (L R C LFE Ls Rs): mono is the centre, stereo its pair, 5.1 itself.
    auto mono = processorModel(kMono, k5_1);
    expectRow(*mono, 0, {0, 0, 1, 0, 0, 0});
    auto stereo = processorModel(kStereo, k5_1);
    expectRow(*stereo, 0, {1, 0, 0, 0, 0, 0});
    expectRow(*stereo, 1, {0, 1, 0, 0, 0, 0});
    auto surround = processorModel(k5_1, k5_1);
    for (int32_t ch = 0; ch < 6; ++ch) {
        std::vector<float> row(6, 0.0f);
        row[static_cast<size_t>(ch)] = 1.0f; // the LFE through the LFE route at 0 dB
        expectRow(*surround, ch, row);
    }
    // Into 7.1.4 (L R C LFE Ls Rs Tfl Tfr Trl Trr Sl Sr, in bus order): the
    // flat inputs stay at ear level.
    auto mono714 = processorModel(kMono, k7_1_4);
    expectRow(*mono714, 0, {0, 0, 1, 0, 0, 0, 0, 0, 0, 0, 0, 0});
    auto surround714 = processorModel(k5_1, k7_1_4);
    for (int32_t ch = 0; ch < 6; ++ch) {
        std::vector<float> row(12, 0.0f);
        row[static_cast<size_t>(ch)] = 1.0f;
        expectRow(*surround714, ch, row);
    }
    // Into 22.2, which has a row below ear level, flat inputs stay at ear
    // level too (L R C LFE Ls Rs are its first six channels); the LFE goes
    // to both of its LFE channels at sqrt(1/2).
    auto surround222 = processorModel(k5_1, k22_2);
    for (int32_t ch = 0; ch < 6; ++ch) {
        std::vector<float> row(24, 0.0f);
        row[static_cast<size_t>(ch)] = 1.0f;
        if (ch == 3) row[3] = row[static_cast<size_t>(channelOf(k22_2, Spk::LFE2))] = kHalf;
        expectRow(*surround222, ch, row);
    }
    auto full714 = processorModel(k7_1_4, k7_1_4);
    for (int32_t ch = 0; ch < 12; ++ch) {
        std::vector<float> row(12, 0.0f);
        row[static_cast<size_t>(ch)] = 1.0f;
        expectRow(*full714, ch, row);
    }
}

TEST(PannerModelGains, MovedImagesFollowTheLaw) {
    // Stereo into 5.1, against the front wall. Narrowed to half: L stands at
    // x 0.25 of the room, halfway between L and C, so both get sqrt(1/2).
    auto stereo = processorModel(kStereo, k5_1);
    stereo->setPosY(0.0);
    stereo->setScaleX(0.5 * kHalf);
    expectRow(*stereo, 0, {kHalf, 0, kHalf, 0, 0, 0});
    expectRow(*stereo, 1, {0, kHalf, kHalf, 0, 0, 0});
    // Full width again (stage 2), moved a quarter of the room right: L on C,
    // R against the right wall.
    stereo->setScaleX(kHalf);
    stereo->setPosX(0.75);
    expectRow(*stereo, 0, {0, 0, 1, 0, 0, 0});
    expectRow(*stereo, 1, {0, 1, 0, 0, 0, 0});
    // Pulled back to mid depth: front and rear zones share each channel at
    // sqrt(1/2): R to R and Rs, L (on the centre line) to C and to Ls and Rs
    // at a half each.
    stereo->setPosY(0.5);
    expectRow(*stereo, 0, {0, 0, kHalf, 0, 0.5f, 0.5f});
    expectRow(*stereo, 1, {0, kHalf, 0, 0, 0, kHalf});

    // 5.1 turned half a round: front and rear change places, left and right too.
    auto turned = processorModel(k5_1, k5_1);
    turned->setRotateZ(0.5);
    expectRow(*turned, 0, {0, 0, 0, 0, 0, 1});         // L to Rs
    expectRow(*turned, 1, {0, 0, 0, 0, 1, 0});         // R to Ls
    expectRow(*turned, 2, {0, 0, 0, 0, kHalf, kHalf}); // C to the rear middle
    expectRow(*turned, 4, {0, 1, 0, 0, 0, 0});         // Ls to R
    // A quarter turn: the front row stands along the right wall.
    turned->setRotateZ(0.25);
    expectRow(*turned, 0, {0, 1, 0, 0, 0, 0});         // L to the front right corner
    expectRow(*turned, 2, {0, kHalf, 0, 0, 0, kHalf}); // C to the middle of the right wall
    expectRow(*turned, 1, {0, 0, 0, 0, 0, 1});         // R to the rear right corner

    // The stage grows with the image along the axes the input spreads in:
    // 5.1 spreads in x and y, stereo in x only.
    auto surround = processorModel(k5_1, k5_1);
    surround->setScaleY(1.0);
    EXPECT_FLOAT_EQ(surround->getStageSize(), 1.0f + kMaxScale);
    surround->setScaleY(kHalf);
    surround->setScaleZ(1.0);
    EXPECT_FLOAT_EQ(surround->getStageSize(), 2.0f);
    stereo->setScaleY(1.0);
    EXPECT_FLOAT_EQ(stereo->getStageSize(), 2.0f);
    stereo->setScaleX(0.0);
    EXPECT_FLOAT_EQ(stereo->getStageSize(), 1.0f);
    auto layered = processorModel(k7_1_4, k7_1_4);
    layered->setScaleZ(1.0);
    EXPECT_FLOAT_EQ(layered->getStageSize(), 1.0f + kMaxScale);

    // Mono raised into 7.1.4: the cube of a flat input spans the ear row (its
    // floor) and the top row. Halfway up, both layers take sqrt(1/2): C, and
    // Tfl and Tfr at a half each. Three quarters up, the blend f is 0.5: the
    // ear row takes (1 - 0.5) sqrt(1/2), the top row the power complement.
    auto raised = processorModel(kMono, k7_1_4);
    const int32_t C = channelOf(k7_1_4, Spk::C), Tfl = channelOf(k7_1_4, Spk::Tfl);
    const int32_t Tfr = channelOf(k7_1_4, Spk::Tfr);
    raised->setPosZ(0.5);
    EXPECT_NEAR(gain(*raised, 0, C), kHalf, kTol);
    EXPECT_NEAR(gain(*raised, 0, Tfl), 0.5f, kTol);
    EXPECT_NEAR(gain(*raised, 0, Tfr), 0.5f, kTol);
    raised->setPosZ(0.75);
    const float ear = 0.5f * kHalf, top = std::sqrt(1.0f - ear * ear);
    EXPECT_NEAR(gain(*raised, 0, C), ear, kTol);
    EXPECT_NEAR(gain(*raised, 0, Tfl), top * kHalf, kTol);
    EXPECT_NEAR(gain(*raised, 0, Tfr), top * kHalf, kTol);

    // Mono a quarter of the room left of the centre, into 5.1: between L and C.
    auto mono = processorModel(kMono, k5_1);
    mono->setPosX(0.25);
    expectRow(*mono, 0, {kHalf, 0, kHalf, 0, 0, 0});
    // Scale and rotation don't move a mono source: it is the image's centre.
    mono->setScaleX(0.1);
    mono->setRotateZ(0.3);
    mono->setTiltY(0.2);
    expectRow(*mono, 0, {kHalf, 0, kHalf, 0, 0, 0});
}

TEST(PannerModelGains, PowerStaysUnityWhereverTheImageGoes) {
    const Plx::SpeakerArrangement inputs[] = {kMono, kStereo, k5_1, k7_1_4};
    const Plx::SpeakerArrangement outputs[] = {k5_1, k7_1_4, k22_2};
    std::mt19937 rng(19);
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    double worst = 0.0;
    for (auto in : inputs) {
        for (auto out : outputs) {
            auto model = processorModel(in, out);
            for (int step = 0; step < 60; ++step) {
                model->setPosX(unit(rng));
                model->setPosY(unit(rng));
                if (step % 3 == 0) model->setPosZ(unit(rng));
                model->setScaleX(unit(rng));
                model->setScaleY(unit(rng));
                model->setRotateZ(unit(rng));
                for (int32_t ch = 0; ch < Plx::channelCount(in); ++ch) {
                    if (channelOf(in, Spk::LFE) == ch && (in & Spk::LFE)) continue;
                    worst = std::max(worst, std::fabs(10.0 * std::log10(mainPower(*model, ch, out))));
                }
            }
        }
    }
    EXPECT_LT(worst, 0.5);
}

// Every parameter id the model takes, for random edits.
const int32_t kEditIds[] = {
    ParamId::kPosX,
    ParamId::kPosY,
    ParamId::kPosZ,
    ParamId::kCenterDistr,
    ParamId::kFrontDiv,
    ParamId::kRearDiv,
    ParamId::kFrontRearDiv,
    ParamId::kBottomTopDiv,
    ParamId::kLfeVol,
    ParamId::kScaleX,
    ParamId::kScaleY,
    ParamId::kScaleZ,
    ParamId::kTiltX,
    ParamId::kTiltY,
    ParamId::kRotateZ,
    ParamId::kElevationOn,
    ParamId::kElevationMode,
    ParamId::kObjectModeRadio,
    ParamId::kBedModeRadio,
    ParamId::kObjectSize,
    ParamId::kSpeakerSnap,
    ParamId::kDistanceScale,
    ParamId::kBypass,
    ParamId::kOrbit,
    ParamId::kRadius,
    ParamId::kPosLX,
    ParamId::kPosLY,
    ParamId::kPosLZ,
    ParamId::kPosRX,
    ParamId::kPosRY,
    ParamId::kPosRZ,
    ParamId::kSpeakerFirst + 2,
    ParamId::kSpeakerFirst + 3,
    ParamId::kSpeakerFirst + 12,
    Mix::ParamId::kOutputSoloFirst + 1,
    ParamId::kUnlockOrbit,
};

// A value a host might send: mostly in range, sometimes exactly 0 or 1,
// sometimes out of range, infinite or not a number.
double hostValue(std::mt19937& rng) {
    std::uniform_real_distribution<double> unit(0.0, 1.0);
    const double pick = unit(rng);
    if (pick < 0.02) return std::numeric_limits<double>::quiet_NaN();
    if (pick < 0.03) return pick < 0.025 ? std::numeric_limits<double>::infinity() : -1e300;
    if (pick < 0.06) return unit(rng) * 4.0 - 1.5;
    if (pick < 0.10) return pick < 0.08 ? 0.0 : 1.0;
    return unit(rng);
}

void expectSameState(const RPannerModel& a, const RPannerModel& b, bool gains) {
    ASSERT_EQ(a.getPositionCount(), b.getPositionCount());
    for (size_t i = 0; i < a.getImagePositions().size(); ++i)
        for (size_t k = 0; k < 3; ++k) {
            ASSERT_EQ(a.getImagePositions()[i][k], b.getImagePositions()[i][k]);
            ASSERT_EQ(a.getRawPositions()[i][k], b.getRawPositions()[i][k]);
        }
    const ImagePose pa = a.getPose(), pb = b.getPose();
    ASSERT_EQ(std::memcmp(&pa, &pb, sizeof pa), 0);
    ASSERT_EQ(a.getOrbit(), b.getOrbit());
    ASSERT_EQ(a.getRadius(), b.getRadius());
    if (!gains) return;
    for (int which = 0; which < 2; ++which)
        ASSERT_EQ(a.getGainSet()->matrix[which].data, b.getGainSet()->matrix[which].data) << which;
}

TEST(PannerModelSync, TwoInstancesFedTheSameStreamStayBitIdentical) {
    // The processor's model (gains, no messages), a second one like it with
    // messages on, and the controller's (messages, no gains): the same
    // normalized values in the same order, with an arrangement change now
    // and then, give the same positions everywhere and the same gains.
    const std::pair<Plx::SpeakerArrangement, Plx::SpeakerArrangement> pairs[] = {
        {k7_1_4, k7_1_4}, {k5_1, k7_1_2}, {kStereo, k22_2}, {kMono, kAmbi3}, {k7_1_4, k5_1}};
    auto processor = processorModel(pairs[0].first, pairs[0].second);
    auto twin = processorModel(pairs[0].first, pairs[0].second);
    twin->setNotifyChanges(true);
    auto controller = controllerModel(pairs[0].first, pairs[0].second);
    for (RPannerModel* m : {processor.get(), twin.get(), controller.get()}) m->setObjectBusConnected(true);
    MessageLog log;
    controller->addDependent(&log);

    std::mt19937 rng(2024);
    std::uniform_int_distribution<size_t> pickId(0, std::size(kEditIds) - 1);
    for (int edit = 0; edit < 10000; ++edit) {
        if (edit % 2000 == 1999) {
            const auto& pair = pairs[static_cast<size_t>(edit / 2000 + 1) % std::size(pairs)];
            for (RPannerModel* m : {processor.get(), twin.get(), controller.get()})
                m->setArrangements(pair.first, pair.second);
        }
        const bool batch = edit % 97 == 0;
        if (batch)
            for (RPannerModel* m : {processor.get(), twin.get(), controller.get()}) m->setDeferred(true);
        const int32_t id = kEditIds[pickId(rng)];
        const double value = hostValue(rng);
        for (RPannerModel* m : {processor.get(), twin.get(), controller.get()}) m->setParamValue(id, value);
        if (batch)
            for (RPannerModel* m : {processor.get(), twin.get(), controller.get()}) m->setDeferred(false);
        expectSameState(*processor, *twin, true);
        expectSameState(*processor, *controller, false);
        // Whatever arrived, every position stays in the room and every gain finite.
        for (const Point3& p : processor->getImagePositions())
            for (float c : p) ASSERT_TRUE(c >= -0.5f && c <= 0.5f) << "edit " << edit << " id " << id;
        for (float g : processor->getGainSet()->matrix[0].data)
            ASSERT_TRUE(std::isfinite(g)) << "edit " << edit;
    }
    EXPECT_GT(log.count(PannerMessage::kPositionsChanged), 1000);
    controller->removeDependent(&log);
}

TEST(PannerModelInput, BadValuesHoldOrClampAndNeverLeaveTheRoom) {
    auto model = processorModel(k5_1, k7_1_4);
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double inf = std::numeric_limits<double>::infinity();
    model->setPosX(0.3);
    // Not a number: every setter keeps its value.
    for (int32_t id : kEditIds) EXPECT_FALSE(model->setParamValue(id, nan)) << id;
    EXPECT_FLOAT_EQ(model->getPose().posX, 0.3f);
    // Infinities and out-of-range values are the ends of the range.
    model->setParamValue(ParamId::kPosX, inf);
    EXPECT_EQ(model->getPose().posX, 1.0f);
    model->setParamValue(ParamId::kPosX, -inf);
    EXPECT_EQ(model->getPose().posX, 0.0f);
    model->setParamValue(ParamId::kScaleX, 7.0);
    EXPECT_EQ(model->getPose().scaleX, kMaxScale);
    model->setParamValue(ParamId::kElevationMode, 3.0);
    EXPECT_EQ(model->getElevationMode(), kElevationModeMax);
    // The mode is the nearest of the eight steps.
    for (int32_t mode = 0; mode <= kElevationModeMax; ++mode) {
        model->setParamValue(ParamId::kElevationMode, (mode - 0.45) / 7.0);
        EXPECT_EQ(model->getElevationMode(), std::max(mode, 0));
        model->setParamValue(ParamId::kElevationMode, (mode + 0.45) / 7.0);
        EXPECT_EQ(model->getElevationMode(), mode);
    }

    // Degenerate images: all scales 0 puts every channel on the centre; a
    // tilt of a quarter turn stands the front row on edge; both are finite.
    model->setParamValue(ParamId::kElevationMode, 0.0);
    model->setPosX(0.5);
    model->setPosY(0.5);
    model->setPosZ(0.5);
    for (int32_t id : {ParamId::kScaleX, ParamId::kScaleY, ParamId::kScaleZ}) model->setParamValue(id, 0.0);
    EXPECT_EQ(model->getStageSize(), 1.0f);
    for (const Point3& p : model->getImagePositions()) EXPECT_EQ(p, (Point3{0, 0, 0}));
    model->setScaleX(kHalf);
    model->setTiltY(0.25);
    const auto& image = model->getImagePositions();
    EXPECT_NEAR(image[0][0], 0.0f, 1e-7);  // L
    EXPECT_NEAR(image[0][2], 0.5f, 1e-6);  // up
    EXPECT_NEAR(image[2][2], -0.5f, 1e-6); // R down
    // Handles on top of each other solve to a scale of 0 and finite gains.
    model->setTiltY(0.0);
    Point3 left, right;
    ASSERT_TRUE(model->getHandles(left, right));
    model->setHandle(ParamId::kPosRX, left[0]);
    model->setHandle(ParamId::kPosRY, left[1]);
    EXPECT_EQ(model->getPose().scaleX, 0.0f);
    for (float g : model->getGainSet()->matrix[0].data) EXPECT_TRUE(std::isfinite(g));
}

TEST(PannerModelInput, ChangesBeyondTheToleranceOnly) {
    auto model = controllerModel(k5_1, k5_1);
    MessageLog log;
    model->addDependent(&log);
    model->setPosX(0.25);
    log.messages.clear();
    // Exactly the tolerance away is no change; just beyond it is one.
    EXPECT_FALSE(model->setPosX(0.25 + 1.6e-06));
    EXPECT_TRUE(log.messages.empty());
    EXPECT_TRUE(model->setPosX(0.25 + 1.7e-06));
    EXPECT_EQ(log.count(PannerMessage::kPositionsChanged), 1);
    // The distance scale has no tolerance test.
    EXPECT_TRUE(model->setDistanceScale(0.5));
    EXPECT_TRUE(model->setDistanceScale(0.5));
    // A rotation's rounding residue near 0 comes out as exactly 0: a 5.1
    // turned a full round stands exactly where it started.
    auto turned = processorModel(k5_1, k5_1);
    turned->setPosX(0.5);
    turned->setRotateZ(1.0);
    for (const Point3& p : turned->getImagePositions())
        for (float c : p) EXPECT_TRUE(c == 0.0f || c == 0.5f || c == -0.5f) << c;
    model->removeDependent(&log);
}

TEST(PannerModelBatch, DeferredEditsRecomputeOnceWhenTheBatchEnds) {
    auto model = controllerModel(k5_1, k7_1_4);
    model->createGainSet();
    model->setArrangements(k5_1, k7_1_4);
    MessageLog log;
    model->addDependent(&log);
    const std::vector<Point3> before = model->getImagePositions();
    const std::vector<float> gainsBefore = model->getGainSet()->matrix[0].data;

    model->setDeferred(true);
    model->setPosX(0.9);
    model->setRotateZ(0.3);
    model->setScaleY(0.2);
    // Nothing moves while the batch is open, nor for a new layout.
    EXPECT_EQ(model->getImagePositions(), before);
    model->setArrangements(k5_1, k5_1);
    model->setArrangements(k5_1, k7_1_4);
    EXPECT_EQ(log.count(PannerMessage::kPositionsChanged), 0);
    EXPECT_EQ(log.count(PannerMessage::kArrangementChanged), 2);
    model->setDeferred(false);
    EXPECT_EQ(log.count(PannerMessage::kPositionsChanged), 1);
    EXPECT_NE(model->getImagePositions(), before);
    EXPECT_NE(model->getGainSet()->matrix[0].data, gainsBefore);

    // The batched result equals the same edits made one by one.
    auto direct = processorModel(k5_1, k7_1_4);
    direct->setPosX(0.9);
    direct->setRotateZ(0.3);
    direct->setScaleY(0.2);
    EXPECT_EQ(direct->getImagePositions(), model->getImagePositions());
    EXPECT_EQ(direct->getGainSet()->matrix[0].data, model->getGainSet()->matrix[0].data);

    // A handle move inside an open batch leaves the batch open.
    log.messages.clear();
    const std::vector<Point3> settled = model->getImagePositions();
    model->setDeferred(true);
    EXPECT_TRUE(model->setHandle(ParamId::kPosLX, 0.1));
    EXPECT_TRUE(model->isDeferred());
    EXPECT_EQ(model->getImagePositions(), settled);
    model->setDeferred(false);
    EXPECT_EQ(log.count(PannerMessage::kPositionsChanged), 1);
    EXPECT_NEAR(model->getParamValue(ParamId::kPosLX), 0.1, 1e-6);
    model->removeDependent(&log);
}

TEST(PannerModelSpeakers, SwitchedOffSpeakersTakeNoShare) {
    auto model = processorModel(kMono, k5_1);
    MessageLog log;
    model->setNotifyChanges(true);
    model->addDependent(&log);
    // The centre off: a centred mono source goes to L and R at sqrt(1/2).
    model->setParamValue(ParamId::kSpeakerFirst + 2, 0.0);
    expectRow(*model, 0, {kHalf, kHalf, 0, 0, 0, 0});
    EXPECT_EQ(log.count(PannerMessage::kCenterChanged), 1); // a front speaker
    EXPECT_EQ(model->getParamValue(ParamId::kSpeakerFirst + 2), 0.0);
    // Ls off, then a source at the rear left corner: it can only use Rs.
    model->setParamValue(ParamId::kSpeakerFirst + 3, 0.0);
    EXPECT_EQ(log.count(PannerMessage::kSpeakerOffChanged), 1);
    model->setPosX(0.0);
    model->setPosY(1.0);
    expectRow(*model, 0, {0, 0, 0, 0, 0, 1});
    // A speaker the output lacks changes only its flag; the off state comes
    // back when a layout with it arrives.
    model->setParamValue(ParamId::kSpeakerFirst + 8, 0.0); // Sl
    EXPECT_EQ(log.count(PannerMessage::kSpeakerOffChanged), 2);
    model->setArrangements(kMono, k7_1_4);
    const int32_t Ls = channelOf(k7_1_4, Spk::Ls), Rs = channelOf(k7_1_4, Spk::Rs);
    const int32_t Sl = channelOf(k7_1_4, Spk::Sl), Sr = channelOf(k7_1_4, Spk::Sr);
    model->setPosX(0.0);
    model->setPosY(0.5);
    EXPECT_NEAR(gain(*model, 0, Sl), 0.0f, kTol);
    EXPECT_NEAR(gain(*model, 0, Sr), 1.0f, kTol); // the side zone's one speaker left
    model->setPosY(1.0);
    EXPECT_NEAR(gain(*model, 0, Rs), 1.0f, kTol);
    model->setParamValue(ParamId::kSpeakerFirst + 3, 1.0);
    EXPECT_NEAR(gain(*model, 0, Ls), 1.0f, kTol);
    EXPECT_NEAR(gain(*model, 0, Rs), 0.0f, kTol);
    model->removeDependent(&log);

    // The centre distribution limit over the five front speakers of "Cine
    // Front" (L Lc C Rc R): with all on, the centre's neighbours Lc and Rc
    // lie one step away, 2 * 1 / 4; with Lc off they are no longer even.
    auto cine = processorModel(kMono, kCineFront);
    EXPECT_EQ(cine->getCenterLimit(), 0.0f); // no centre distribution yet
    cine->setCenterSpread(0.3);
    EXPECT_FLOAT_EQ(cine->getCenterLimit(), 0.5f);
    cine->setSpeakerOff(5, true); // Lc
    EXPECT_EQ(cine->getCenterLimit(), 0.0f);
    cine->setSpeakerOff(6, true); // Rc: now L and R, two steps away each
    EXPECT_FLOAT_EQ(cine->getCenterLimit(), 1.0f);
    cine->setSpeakerOff(2, true); // the centre itself
    EXPECT_EQ(cine->getCenterLimit(), 0.0f);
    // A mono output is its centre speaker.
    auto toMono = processorModel(kStereo, kMono);
    expectRow(*toMono, 0, {1});
    MessageLog monoLog;
    toMono->setNotifyChanges(true);
    toMono->addDependent(&monoLog);
    toMono->setParamValue(ParamId::kSpeakerFirst + 2, 0.0);
    expectRow(*toMono, 0, {0});
    EXPECT_EQ(monoLog.messages, std::vector<int32_t>{PannerMessage::kCenterChanged});
    toMono->removeDependent(&monoLog);
    toMono->setParamValue(ParamId::kSpeakerFirst + 2, 1.0);
    expectRow(*toMono, 1, {1});
}

TEST(PannerModelGeometry, ElevationPatternsAndTheFlatFloor) {
    auto model = processorModel(kStereo, k7_1_4);
    // Sphere pattern: the centre of the room is the top of the dome, and
    // the centre's height follows it; a manual height is ignored meanwhile.
    model->setParamValue(ParamId::kElevationMode, 3.0 / 7.0);
    model->setPosY(0.5);
    EXPECT_FLOAT_EQ(model->getPose().posZ, 1.0f);
    EXPECT_FALSE(model->setPosZ(0.2));
    EXPECT_FLOAT_EQ(model->getPose().posZ, 1.0f);
    // The channels, at x 0 and 1 of a full-width image, sit where the dome
    // meets the floor.
    for (const Point3& p : model->getImagePositions()) EXPECT_NEAR(p[2], -0.5f, 1e-6);
    model->setScaleX(0.5 * kHalf); // x 0.25 and 0.75: height sqrt(1 - 0.25)
    for (const Point3& p : model->getImagePositions()) EXPECT_NEAR(p[2], std::sqrt(0.75f) - 0.5f, 1e-6);

    // Elevation off: a flat input lies on the floor, a layered one at the
    // middle height.
    model->setElevationOn(false);
    for (const Point3& p : model->getImagePositions()) EXPECT_EQ(p[2], -0.5f);
    auto layered = processorModel(k7_1_4, k7_1_4);
    layered->setElevationOn(false);
    for (const Point3& p : layered->getImagePositions()) EXPECT_EQ(p[2], 0.0f);
    // Gains of a layered input with elevation off: the top row comes down to
    // ear level, Tfl on L.
    EXPECT_NEAR(gain(*layered, channelOf(k7_1_4, Spk::Tfl), channelOf(k7_1_4, Spk::L)), 1.0f, kTol);
}

TEST(PannerModelGeometry, OrbitRadiusAndCounterMoves) {
    auto model = controllerModel(k5_1, k5_1);
    MessageLog log;
    model->addDependent(&log);
    // Radius 1 at orbit 0 is the middle of the front wall.
    model->setRadius(kHalf);
    EXPECT_NEAR(model->getPose().posX, 0.5f, 1e-6);
    EXPECT_NEAR(model->getPose().posY, 0.0f, 1e-6);
    // A quarter orbit takes it to the middle of the right wall, and the
    // multichannel image turns with it to keep facing the middle.
    model->setOrbit(0.25);
    EXPECT_NEAR(model->getPose().posX, 1.0f, 1e-6);
    EXPECT_NEAR(model->getPose().posY, 0.5f, 1e-6);
    EXPECT_NEAR(model->getPose().rotateZ, 0.25f, 1e-6);
    // Moving the centre by hand updates orbit and radius and re-anchors.
    log.messages.clear();
    model->setPosY(0.0);
    EXPECT_NEAR(model->getOrbit(), 0.125f, 1e-6);
    EXPECT_NEAR(model->getRadius(), kMaxScale, 1e-6);
    EXPECT_EQ(log.count(PannerMessage::kOrbitChanged), 1);
    EXPECT_EQ(log.count(PannerMessage::kRadiusChanged), 1);
    // Half a radius from there, on the same diagonal.
    model->setRadius(0.5 * kHalf * kMaxScale * kHalf);
    EXPECT_NEAR(model->getPose().posX, 0.5f + 0.25f * kHalf, 1e-6);
    EXPECT_NEAR(model->getPose().posY, 0.5f - 0.25f * kHalf, 1e-6);
    model->removeDependent(&log);
}

TEST(PannerModelGeometry, TheRoofOf712AndObjectMode) {
    auto model = processorModel(kStereo, k7_1_2);
    model->setObjectBusConnected(true);
    EXPECT_TRUE(model->isRoofActive());
    EXPECT_EQ(model->getRoof().floorHeight(), -0.5f); // a flat input: the tent starts on the floor
    // The image raised and pushed back (stage 2): both channels stand a
    // full cube behind and above the middle, at (-+0.5, 1, 1), beyond the
    // rear slope z = 0.5 - 5 (y - 0.3). Pulled back along the line
    // s (0.5, 1, 1.5) from the floor's middle (0, 0, -0.5), they meet it at
    // s = 5/13.
    model->setPosY(1.0);
    model->setPosZ(1.0);
    for (const Point3& p : model->getRawPositions()) EXPECT_NEAR(p[1], 1.0f, 1e-6); // before the roof
    const auto& image = model->getImagePositions();
    EXPECT_NEAR(image[0][0], -2.5f / 13.0f, 1e-6);
    EXPECT_NEAR(image[1][0], 2.5f / 13.0f, 1e-6);
    EXPECT_NEAR(image[1][1], 5.0f / 13.0f, 1e-6);
    EXPECT_NEAR(image[1][2], 1.0f / 13.0f, 1e-6);
    // Object mode has no roof: the positions change at once, to the corners.
    EXPECT_TRUE(model->setParamValue(ParamId::kObjectModeSwitch, 1.0));
    EXPECT_TRUE(model->isObjectMode());
    EXPECT_FALSE(model->isRoofActive());
    EXPECT_EQ(model->getImagePositions()[1], (Point3{0.5f, 0.5f, 0.5f}));
    // Without a host object bus the processor's switch can't enter object
    // mode; the editor's radio values can.
    auto unbound = processorModel(kStereo, k7_1_2);
    EXPECT_FALSE(unbound->setParamValue(ParamId::kObjectModeSwitch, 1.0));
    EXPECT_TRUE(unbound->setParamValue(ParamId::kObjectModeRadio, 1.0));
    EXPECT_TRUE(unbound->setParamValue(ParamId::kBedModeRadio, 1.0));
    EXPECT_FALSE(unbound->isObjectMode());
    EXPECT_TRUE(unbound->isRoofActive());
    // A layered input puts the tent's foot at ear level.
    EXPECT_EQ(processorModel(k7_1_4, k7_1_2)->getRoof().floorHeight(), 0.0f);
}

// Whether every channel that carries a handle lies inside the room (a
// handle on the wall is clamped, and no longer tells where the image is).
bool handlesInside(const RPannerModel& model) {
    Point3 left, right;
    if (!model.getHandles(left, right)) return false;
    for (size_t k = 0; k < 3; ++k)
        if (left[k] <= 1e-3f || left[k] >= 0.999f || right[k] <= 1e-3f || right[k] >= 0.999f) return false;
    return true;
}

TEST(PannerModelHandles, SolvingTheHandlesGivesBackTheImage) {
    // For each layout: a random image; one handle component moved and put
    // back through the handle parameters must return the image, for every
    // one of the six components.
    const Plx::SpeakerArrangement inputs[] = {kStereo, k5_1, k7_1_4, k22_2, kLRS, k7_1CineFrontHigh};
    std::mt19937 rng(77);
    std::uniform_real_distribution<double> unit(0.0, 1.0), centre(0.3, 0.7), tilt(-0.2, 0.2);
    const int32_t ids[] = {ParamId::kPosLX, ParamId::kPosLY, ParamId::kPosLZ,
                           ParamId::kPosRX, ParamId::kPosRY, ParamId::kPosRZ};
    int checked = 0;
    for (auto in : inputs) {
        auto model = controllerModel(in, k22_2);
        for (int trial = 0; trial < 40; ++trial) {
            model->setPosX(centre(rng));
            model->setPosY(centre(rng));
            model->setPosZ(centre(rng));
            model->setScaleX(0.2 + 0.5 * unit(rng));
            model->setScaleY(0.2 + 0.5 * unit(rng));
            model->setScaleZ(0.2 + 0.5 * unit(rng));
            model->setTiltX(0.0);
            const double t = tilt(rng);
            model->setTiltY(t < 0 ? t + 1.0 : t);
            model->setRotateZ(unit(rng));
            if (!handlesInside(*model)) continue;
            const ImagePose image = model->getPose();
            for (int32_t id : ids) {
                const double value = model->getParamValue(id);
                model->setHandle(id, value + 0.03);
                const ImagePose moved = model->getPose();
                ASSERT_NE(std::memcmp(&image, &moved, sizeof image), 0);
                model->setHandle(id, value);
                const ImagePose back = model->getPose();
                SCOPED_TRACE(testing::Message()
                             << std::hex << in << std::dec << " trial " << trial << " id " << id);
                EXPECT_NEAR(back.posX, image.posX, 1e-5);
                EXPECT_NEAR(back.posY, image.posY, 1e-5);
                EXPECT_NEAR(back.posZ, image.posZ, 1e-5);
                EXPECT_NEAR(back.scaleX, image.scaleX, 1e-5);
                EXPECT_NEAR(std::remainder(back.tiltY - image.tiltY, 1.0), 0.0, 1e-5);
                EXPECT_NEAR(std::remainder(back.rotateZ - image.rotateZ, 1.0), 0.0, 1e-5);
                model->setPosX(image.posX), model->setPosY(image.posY), model->setPosZ(image.posZ);
                model->setRotateZ(image.rotateZ), model->setTiltY(image.tiltY);
                model->setScaleX(image.scaleX * kHalf);
                ++checked;
            }
        }
    }
    EXPECT_GT(checked, 300);

    // A mono input: both handles are the one channel, and moving one moves both.
    auto mono = controllerModel(kMono, k5_1);
    mono->setHandle(ParamId::kPosLX, 0.2);
    Point3 left, right;
    ASSERT_TRUE(mono->getHandles(left, right));
    EXPECT_NEAR(left[0], 0.2f, 1e-6);
    EXPECT_NEAR(right[0], 0.2f, 1e-6);
    EXPECT_NEAR(mono->getPose().posX, 0.2f, 1e-6);
}

TEST(PannerModelRealTime, EditsAllocateNothingButTheFirstObjectTransform) {
    if (!RtGuard::available()) GTEST_SKIP() << "the allocation guard is compiled out here";
    for (auto out : {k7_1_4, k22_2, k7_1_2, kAmbi3}) {
        auto model = processorModel(k7_1_4, out);
        model->setNotifyChanges(true);
        model->setObjectBusConnected(true);
        std::mt19937 rng(3);
        RtGuard::arm();
        for (int edit = 0; edit < 400; ++edit) {
            const int32_t id = kEditIds[edit % std::size(kEditIds)];
            if (id == ParamId::kObjectModeRadio || id == ParamId::kBedModeRadio) continue;
            model->setDeferred(edit % 5 == 0);
            model->setParamValue(id, hostValue(rng));
        }
        model->setDeferred(false);
        EXPECT_EQ(RtGuard::disarm().allocations, 0) << std::hex << out;
        // The first switch to object mode makes the object transform, once.
        RtGuard::arm();
        model->setParamValue(ParamId::kObjectModeSwitch, 1.0);
        EXPECT_EQ(RtGuard::disarm().allocations, 1);
        model->setParamValue(ParamId::kObjectModeSwitch, 0.0);
        RtGuard::arm();
        model->setParamValue(ParamId::kObjectModeSwitch, 1.0);
        model->setPosX(0.1);
        EXPECT_EQ(RtGuard::disarm().allocations, 0);
    }
}

TEST(PannerModelGains, DirectModeRoutesOrPlacesTheLayoutAsItIs) {
    using Mix::MixGainSet;
    // Nested layouts: each speaker to the same speaker, whatever the image.
    auto nested = processorModel(k5_1, k7_1_4);
    nested->setRotateZ(0.3);
    for (int32_t ch = 0; ch < 6; ++ch)
        for (int32_t out = 0; out < 12; ++out)
            EXPECT_EQ(gain(*nested, ch, out, MixGainSet::kDirect), ch == out ? 1.0f : 0.0f)
                << ch << " " << out;
    // Side speakers into 5.1 (not nested): the layout's own place, mid depth
    // on each side wall, shared by the front and rear speaker of that side.
    auto sides = processorModel(kStereoSlSr, k5_1);
    const std::vector<float> left{kHalf, 0, 0, 0, kHalf, 0}, right{0, kHalf, 0, 0, 0, kHalf};
    for (size_t out = 0; out < 6; ++out) {
        EXPECT_NEAR(gain(*sides, 0, int32_t(out), MixGainSet::kDirect), left[out], kTol);
        EXPECT_NEAR(gain(*sides, 1, int32_t(out), MixGainSet::kDirect), right[out], kTol);
    }
    // ... which is also where its default image stands.
    expectRow(*sides, 0, left);
    expectRow(*sides, 1, right);
    // A front pair of another name: its own place is the front wall.
    auto centres = processorModel(kStereoLcRc, k5_1);
    centres->setPosY(0.5);
    for (int32_t out = 0; out < 6; ++out) {
        EXPECT_NEAR(gain(*centres, 0, out, MixGainSet::kDirect), out == 0 ? 1.0f : 0.0f, kTol);
        EXPECT_NEAR(gain(*centres, 1, out, MixGainSet::kDirect), out == 1 ? 1.0f : 0.0f, kTol);
    }
}

} // namespace
} // namespace Tannhofen::Panner
