// The plain law of the base model, as the panner uses it: points placed
// directly, divergences, muted speakers and the three-speaker law.
#include <gtest/gtest.h>

#include <cmath>

#include "mix/mixer_base_model.h"

using namespace Tannhofen;
using namespace Tannhofen::Mix;

namespace {

// A model with one input channel that sits at a chosen point.
class PointModel : public MMixerBaseModel {
public:
    PointModel(Plx::SpeakerArrangement out) {
        createGainSet();
        setArrangements(0x80000, out);
    }
    void updateMain(bool direct) override {
        panPoint(gainSet->matrix[0], 0, gainSet->outMap, x, y, z, direct);
    }
    float at(float px, float py, float pz, int out) {
        x = px, y = py, z = pz;
        updateMain(false);
        return gainSet->matrix[0].at(0, out);
    }
    double power(float px, float py, float pz) {
        at(px, py, pz, 0);
        double p = 0;
        for (int o = 0; o < numOut + numOutLfe; ++o)
            p += double(gainSet->matrix[0].at(0, o)) * gainSet->matrix[0].at(0, o);
        return p;
    }
    void mute(int gridPosition, bool on) {
        speakerMuted[static_cast<size_t>(gridPosition)] = on;
        recomputeMutes();
    }
    void diverge(float d) { frontDivergence = rearDivergence = depthDivergence = heightDivergence = d; }
    using MMixerBaseModel::centerSpread;
    float x = 0, y = 0, z = 0;
};

constexpr float h = 0.70710677f;
constexpr float tol = 2e-6f;

} // namespace

TEST(MixLaw, PointsBetweenNeighboursKeepTheirPower) {
    PointModel stereo(0x3);
    EXPECT_NEAR(stereo.at(0.5f, 0, 0.5f, 0), h, tol);
    EXPECT_NEAR(stereo.at(0.5f, 0, 0.5f, 1), h, tol);
    EXPECT_NEAR(stereo.at(1.0f, 0, 0, 1), 1.0f, tol);
    // At x 0.25 the blend is -0.5: the far side 0.5 * sqrt(1/2).
    EXPECT_NEAR(stereo.at(0.25f, 0, 0, 1), 0.5f * h, tol);
    for (float px = 0; px <= 1.0f; px += 0.125f) EXPECT_NEAR(stereo.power(px, 0.3f, 0.7f), 1.0, 1e-6);

    // 7.1.4: bus L R C LFE Ls Rs Sl Sr Tfl Tfr Trl Trr. Over two layers z
    // blends ear and top, over depth y blends the zones.
    PointModel big(0x2D63F);
    EXPECT_NEAR(big.at(0, 0, 0.5f, 0), h, tol);
    EXPECT_NEAR(big.at(0, 0, 0.5f, 8), h, tol);
    EXPECT_NEAR(big.at(0, 0.75f, 0, 6), h, tol);
    EXPECT_NEAR(big.at(0, 0.75f, 0, 4), h, tol);
    for (float p = 0; p <= 1.0f; p += 0.1f) EXPECT_NEAR(big.power(p, 1.0f - p, p * p), 1.0, 1e-6);
}

TEST(MixLaw, DivergencesSpreadEvenly) {
    PointModel big(0x2D63F);
    big.diverge(1.0f);
    // Two layers, three ear zones of 3, 2, 2 and two top zones of 2: every
    // speaker gets the product of the even shares.
    const float ear = std::sqrt(0.5f / 3.0f);
    EXPECT_NEAR(big.at(0.2f, 0.1f, 0.3f, 2), ear * std::sqrt(1.0f / 3.0f), tol);
    EXPECT_NEAR(big.at(0.2f, 0.1f, 0.3f, 6), ear * h, tol);
    EXPECT_NEAR(big.at(0.2f, 0.1f, 0.3f, 11), 0.5f * h, tol);
    EXPECT_EQ(big.at(0.2f, 0.1f, 0.3f, 3), 0.0f); // the LFE takes no point
    // Half way, and a flat point ignores every divergence.
    big.diverge(0.5f);
    for (float p = 0; p <= 1.0f; p += 0.1f) EXPECT_NEAR(big.power(p, p, 1.0f - p), 1.0, 1e-5);
    big.x = 0, big.y = 0, big.z = 0;
    big.updateMain(true);
    EXPECT_NEAR(big.getGainSet()->matrix[0].at(0, 0), 1.0f, tol);
}

TEST(MixLaw, MutedSpeakersAreSkipped) {
    // 5.1 grid order: L C R Ls Rs.
    PointModel five(0x3F);
    five.mute(1, true);
    EXPECT_NEAR(five.at(0.5f, 0, 0, 0), h, tol);
    EXPECT_NEAR(five.at(0.5f, 0, 0, 1), h, tol);
    EXPECT_EQ(five.at(0.5f, 0, 0, 2), 0.0f);
    // With the whole rear muted, a rear point stays at the front.
    five.mute(1, false);
    five.mute(3, true);
    five.mute(4, true);
    EXPECT_NEAR(five.at(0, 1.0f, 0, 0), 1.0f, tol);
    EXPECT_EQ(five.at(0, 1.0f, 0, 4), 0.0f);
}

TEST(MixLaw, ThreeSpeakerLaw) {
    PointModel five(0x3F); // L R C ... on the bus
    five.centerSpread = 0.5f;
    // The centre point keeps 0.75 of its power in C and gives the rest to the pair.
    const float side = 0.5f * h;
    EXPECT_NEAR(five.at(0.5f, 0, 0, 0), side, tol);
    EXPECT_NEAR(five.at(0.5f, 0, 0, 1), side, tol);
    EXPECT_NEAR(five.at(0.5f, 0, 0, 2), std::sqrt(0.75f), tol);
    for (float v : {0.2f, 0.5f, 0.8f}) {
        five.centerSpread = v;
        for (float px = 0; px <= 1.0f; px += 0.05f)
            EXPECT_NEAR(five.power(px, 0, 0), 1.0, 1e-5) << v << " " << px;
    }
    // At a full spread the centre point plays from the pair alone.
    five.centerSpread = 1.0f;
    EXPECT_NEAR(five.at(0.5f, 0, 0, 0), h, tol);
    EXPECT_NEAR(five.at(0.5f, 0, 0, 2), 0.0f, tol);
    // Stereo has no front centre: no three-speaker law.
    PointModel stereo(0x3);
    stereo.centerSpread = 0.5f;
    EXPECT_NEAR(stereo.at(0.5f, 0, 0, 0), h, tol);
}
