// The pan law: its plain functions tested directly, then the nested law of the
// base model as the panner uses it (points placed directly, divergences,
// muted speakers, the three-speaker law).
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <vector>

#include "mix/mixer_base_model.h"
#include "mix/pan_law.h"

using namespace Tannhofen;
using namespace Tannhofen::Mix;
namespace Layout = Plx::Layout;

namespace {

constexpr float h = kSqrtHalf;
constexpr float tol = 2e-6f;

} // namespace

TEST(PanLaw, PairGainsKeepPowerAndMirror) {
    // Worked by hand: at f = -0.5 the upper side gets (1 - 0.5) * sqrt(1/2) and
    // the lower side the complement sqrt(1 - 1/8); at the ends one side alone.
    EXPECT_NEAR(pairGains(-0.5f, 0, 2).upper, 0.5f * h, tol);
    EXPECT_NEAR(pairGains(-0.5f, 0, 2).lower, std::sqrt(0.875f), tol);
    EXPECT_NEAR(pairGains(0, 0, 2).lower, h, tol);
    EXPECT_NEAR(pairGains(0, 0, 2).upper, h, tol);
    EXPECT_EQ(pairGains(-1, 0, 2).lower, 1.0f);
    EXPECT_EQ(pairGains(-1, 0, 2).upper, 0.0f);
    for (float f = -1.0f; f <= 1.0f; f += 0.0625f) {
        const PairGains g = pairGains(f, 0, 2);
        EXPECT_NEAR(g.lower * g.lower + g.upper * g.upper, 1.0f, 1e-6f) << f;
        EXPECT_EQ(g.lower, pairGains(-f, 0, 2).upper) << f;
        // With a divergence share the pair and the other items share the power.
        for (uint32_t n : {2u, 3u, 5u}) {
            const float m = divergenceShare(n, 0.6f);
            const PairGains d = pairGains(f, m, n);
            EXPECT_NEAR(d.lower * d.lower + d.upper * d.upper + float(n - 2) * d.other * d.other, 1.0f,
                        1e-5f);
            EXPECT_GE(std::min(d.lower, d.upper), m - tol) << "no neighbour falls below the share";
        }
    }
    // A full divergence spreads evenly: every one of n items at sqrt(1 / n).
    for (uint32_t n : {2u, 3u, 4u}) {
        const PairGains d = pairGains(0.3f, divergenceShare(n, 1.0f), n);
        for (float g : {d.lower, d.upper, d.other}) EXPECT_NEAR(g, std::sqrt(1.0f / float(n)), 1e-6f);
    }
    EXPECT_EQ(divergenceShare(0, 1.0f), 0.0f);
}

TEST(PanLaw, NeighboursSkipMutedItems) {
    const uint8_t none[5] = {};
    // A position of exactly 1 lands on the last item alone.
    Neighbours nb = chooseNeighbours(1.0f, 5, none);
    EXPECT_EQ(nb.lower, 4);
    EXPECT_EQ(nb.upper, 4);
    EXPECT_EQ(nb.blend, -1.0f);
    // q = 4 * 0.3 = 1.2: between items 1 and 2, a fifth of the way.
    nb = chooseNeighbours(0.3f, 5, none);
    EXPECT_EQ(nb.lower, 1);
    EXPECT_EQ(nb.upper, 2);
    EXPECT_NEAR(nb.blend, -0.6f, tol);
    // With the middle item muted, its place is shared by both of its neighbours.
    const uint8_t middle[5] = {0, 0, 1, 0, 0};
    nb = chooseNeighbours(0.5f, 5, middle);
    EXPECT_EQ(nb.lower, 1);
    EXPECT_EQ(nb.upper, 3);
    EXPECT_NEAR(nb.blend, 0.0f, tol);
    // All muted: no neighbour.
    const uint8_t all[3] = {1, 1, 1};
    nb = chooseNeighbours(0.5f, 3, all);
    EXPECT_EQ(nb.lower, -1);
    EXPECT_EQ(nb.upper, -1);
}

TEST(PanLaw, ThreeSpeakerGainsAndRing) {
    // A centred point at a spread of 0.5: the pair 0.5 * sqrt(1/2) each, the
    // centre keeps the rest, sqrt(3/4).
    ThreeSpeakerGains g = threeSpeakerGains(0.0f, 0.5f, 0.0f, 3);
    EXPECT_NEAR(g.lower, 0.5f * h, tol);
    EXPECT_NEAR(g.upper, 0.5f * h, tol);
    EXPECT_NEAR(g.middle, std::sqrt(0.75f), tol);
    for (float v : {0.2f, 0.5f, 0.8f})
        for (float f = -1.0f; f <= 1.0f; f += 0.05f) {
            g = threeSpeakerGains(f, v, 0.0f, 3);
            EXPECT_NEAR(g.lower * g.lower + g.upper * g.upper + g.middle * g.middle, 1.0f, 1e-5f)
                << v << " " << f;
            EXPECT_NEAR(g.lower, threeSpeakerGains(-f, v, 0.0f, 3).upper, 1e-6f) << v << " " << f;
        }
    // The ring gain is the surround level to the power of the distance.
    EXPECT_EQ(ringGain(0.0f, 0.25f), 1.0f);
    EXPECT_NEAR(ringGain(0.5f, 0.25f), 0.5f, tol);
    EXPECT_NEAR(ringGain(1.0f, 0.25f), 0.25f, tol);
}

namespace {

// A model with one input channel that sits at a chosen point; the plain law
// without the converter's rules, as the panner has it.
class PointModel : public MMixerBaseModel {
public:
    explicit PointModel(Plx::SpeakerArrangement out) {
        createGainSet();
        setArrangements(Layout::kMono, out);
    }
    void updateMain(bool direct) override {
        panPoint(gainSet->matrix[0], 0, gainSet->outMap, x, y, z, direct);
    }
    const float* gains(float px, float py, float pz) {
        x = px, y = py, z = pz;
        updateMain(false);
        return gainSet->matrix[0].row(0);
    }
    double power(float px, float py, float pz) {
        const float* g = gains(px, py, pz);
        double p = 0;
        for (int o = 0; o < numOut + numOutLfe; ++o) p += double(g[o]) * g[o];
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

} // namespace

TEST(MixLaw, NestedLawKeepsPowerOverLayersZonesAndSpeakers) {
    PointModel stereo(Layout::kStereo);
    EXPECT_NEAR(stereo.gains(0.5f, 0, 0.5f)[0], h, tol);
    EXPECT_NEAR(stereo.gains(0.25f, 0, 0)[1], 0.5f * h, tol);
    for (float px = 0; px <= 1.0f; px += 0.125f) EXPECT_NEAR(stereo.power(px, 0.3f, 0.7f), 1.0, 1e-6);

    // 7.1.4: bus L R C LFE Ls Rs Sl Sr Tfl Tfr Trl Trr. Over its two layers
    // the height runs from the ear row (0.5) to the top (1): halfway is 0.75,
    // and every point at or below ear height stays on the ear layer.
    PointModel big(Layout::k7_1_4);
    EXPECT_NEAR(big.gains(0, 0, 0.75f)[0], h, tol);
    EXPECT_NEAR(big.gains(0, 0, 0.75f)[8], h, tol);
    EXPECT_EQ(big.gains(0, 0, 0.2f)[0], 1.0f);
    EXPECT_NEAR(big.gains(0, 0.75f, 0.5f)[6], h, tol);
    EXPECT_NEAR(big.gains(0, 0.75f, 0.5f)[4], h, tol);
    for (float p = 0; p <= 1.0f; p += 0.1f) EXPECT_NEAR(big.power(p, 1.0f - p, p * p), 1.0, 1e-6);

    // Every divergence at 1: two layers, ear zones of 3, 2, 2 and top zones of
    // 2, 2; each speaker gets the product of the even shares.
    big.diverge(1.0f);
    const float* g = big.gains(0.2f, 0.1f, 0.3f);
    const float ear = std::sqrt(0.5f / 3.0f);
    EXPECT_NEAR(g[2], ear * std::sqrt(1.0f / 3.0f), tol);
    EXPECT_NEAR(g[6], ear * h, tol);
    EXPECT_NEAR(g[11], 0.5f * h, tol);
    EXPECT_EQ(g[3], 0.0f); // the LFE takes no point
    big.diverge(0.5f);
    for (float p = 0; p <= 1.0f; p += 0.1f) EXPECT_NEAR(big.power(p, p, 1.0f - p), 1.0, 1e-5);
    // A flat point ignores every divergence.
    big.x = big.y = big.z = 0;
    big.updateMain(true);
    EXPECT_NEAR(big.getGainSet()->matrix[0].at(0, 0), 1.0f, tol);
}

TEST(MixLaw, MutedSpeakersAndThreeSpeakerLaw) {
    // 5.1 grid order: L C R Ls Rs; bus order L R C LFE Ls Rs.
    PointModel five(Layout::k5_1);
    five.mute(1, true);
    EXPECT_NEAR(five.gains(0.5f, 0, 0)[0], h, tol);
    EXPECT_NEAR(five.gains(0.5f, 0, 0)[1], h, tol);
    EXPECT_EQ(five.gains(0.5f, 0, 0)[2], 0.0f);
    // With the whole rear muted, a rear point stays at the front.
    five.mute(1, false);
    five.mute(3, true);
    five.mute(4, true);
    EXPECT_NEAR(five.gains(0, 1.0f, 0)[0], 1.0f, tol);
    EXPECT_EQ(five.gains(0, 1.0f, 0)[4], 0.0f);
    five.mute(3, false);
    five.mute(4, false);

    // The three-speaker law reaches the output through the front zone.
    five.centerSpread = 0.5f;
    EXPECT_NEAR(five.gains(0.5f, 0, 0)[2], std::sqrt(0.75f), tol);
    for (float px = 0; px <= 1.0f; px += 0.05f) EXPECT_NEAR(five.power(px, 0, 0), 1.0, 1e-5) << px;
    // At a full spread the centre point plays from the pair alone.
    five.centerSpread = 1.0f;
    EXPECT_NEAR(five.gains(0.5f, 0, 0)[0], h, tol);
    EXPECT_NEAR(five.gains(0.5f, 0, 0)[2], 0.0f, tol);
    // Stereo has no front centre: no three-speaker law.
    PointModel stereo(Layout::kStereo);
    stereo.centerSpread = 0.5f;
    EXPECT_NEAR(stereo.gains(0.5f, 0, 0)[0], h, tol);
}
