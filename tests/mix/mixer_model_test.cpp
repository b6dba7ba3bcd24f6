// Gain matrices of real conversions, worked out by hand from the nested
// constant-power law: a point between two neighbours gives the weaker one
// (1 - f) * sqrt(1/2) and the stronger one the power complement.
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <utility>
#include <vector>

#include "mix/log_scale.h"
#include "tests/mix/mix_test_util.h"

using namespace Tannhofen;
using namespace Tannhofen::Mix;
using namespace Tannhofen::Mix::Test;
namespace Layout = Plx::Layout;

namespace {

constexpr float h = 0.70710677f; // sqrt(1/2)
using Gains = std::map<std::pair<int, int>, float>;

// Unit gain from each of the first n channels to the same output channel, plus `more`.
Gains diagonal(int n, Gains more = {}) {
    for (int i = 0; i < n; ++i) more[{i, i}] = 1.0f;
    return more;
}

// Expects the matrix to hold exactly `expected` (input, output) -> gain, and 0
// everywhere else among the first `rows` x `cols`.
void expectMatrix(const MMixerModel& model, const Gains& expected, int which = MixGainSet::kNormal,
                  float tol = kTol) {
    const MixMatrix& m = model.getGainSet()->matrix[which];
    for (int i = 0; i < m.rows; ++i) {
        for (int o = 0; o < m.cols; ++o) {
            auto it = expected.find({i, o});
            const float want = it == expected.end() ? 0.0f : it->second;
            EXPECT_NEAR(m.at(i, o), want, tol) << "in " << i << " out " << o;
        }
    }
}

} // namespace

TEST(MixConvert, FiveOneToStereoMonoAndBack) {
    // 5.1 bus: L R C LFE Ls Rs.
    auto down = makeModel(Plx::Layout::k5_1, Plx::Layout::kStereo);
    // The centre keeps its power at -3 dB per side; the surrounds fold in at the
    // surround level of a fold (0.5); the LFE spreads at sqrt(1 / 2).
    expectMatrix(*down, {{{0, 0}, 1.0f},
                         {{1, 1}, 1.0f},
                         {{2, 0}, h},
                         {{2, 1}, h},
                         {{3, 0}, h},
                         {{3, 1}, h},
                         {{4, 0}, 0.5f},
                         {{5, 1}, 0.5f}});
    expectMatrix(*makeModel(Plx::Layout::kStereo, Plx::Layout::k5_1), diagonal(2));
    expectMatrix(*makeModel(Plx::Layout::kMono, Plx::Layout::k5_1), {{{0, 2}, 1.0f}});

    // To mono, one output speaker takes each input zone at equal power: sqrt(1/3)
    // for the three fronts; the surrounds come in at the fold's surround level.
    const float third = std::sqrt(1.0f / 3.0f);
    expectMatrix(*makeModel(Plx::Layout::k5_1, Plx::Layout::kMono), {{{0, 0}, third},
                                                                     {{1, 0}, third},
                                                                     {{2, 0}, third},
                                                                     {{3, 0}, 1.0f},
                                                                     {{4, 0}, 0.5f * third},
                                                                     {{5, 0}, 0.5f * third}});
}

TEST(MixConvert, SevenOneToFiveOne) {
    // 7.1 Music bus: L R C LFE Ls Rs Sl Sr. The sides sit halfway between front
    // and rear.
    auto model = makeModel(Plx::Layout::k7_1Music, Plx::Layout::k5_1);
    expectMatrix(*model, diagonal(6, {{{6, 0}, h}, {{6, 4}, h}, {{7, 1}, h}, {{7, 5}, h}}));

    // Direct routing: same bits to same bits, the sides dropped; a pure routing.
    expectMatrix(*model, diagonal(6), MixGainSet::kDirect);
    const MixGainSet& set = *model->getGainSet();
    EXPECT_TRUE(set.simple[MixGainSet::kDirect]);
    EXPECT_EQ(set.routing[MixGainSet::kDirect], (std::vector<int32_t>{0, 1, 2, 3, 4, 5}));
    EXPECT_FALSE(set.simple[MixGainSet::kNormal]);
}

TEST(MixConvert, SevenOneFourToFiveOneAndStereo) {
    // 7.1.4 bus: L R C LFE Ls Rs Sl Sr Tfl Tfr Trl Trr.
    const float top = std::sqrt(h); // the top level without output tops
    auto five = makeModel(Plx::Layout::k7_1_4, Plx::Layout::k5_1);
    // Tops come down to the surrounds at the top level.
    expectMatrix(*five, diagonal(6, {{{6, 0}, h},
                                     {{6, 4}, h},
                                     {{7, 1}, h},
                                     {{7, 5}, h},
                                     {{8, 4}, top},
                                     {{9, 5}, top},
                                     {{10, 4}, top},
                                     {{11, 5}, top}}));

    // To stereo: sides at side level times surround level (0.5 * 0.5), rears at
    // the fold's 0.5, tops at top * side * surround level.
    auto two = makeModel(Plx::Layout::k7_1_4, Plx::Layout::kStereo);
    const float t = top * 0.5f * 0.5f;
    expectMatrix(*two, {{{0, 0}, 1.0f},
                        {{1, 1}, 1.0f},
                        {{2, 0}, h},
                        {{2, 1}, h},
                        {{3, 0}, h},
                        {{3, 1}, h},
                        {{4, 0}, 0.5f},
                        {{5, 1}, 0.5f},
                        {{6, 0}, 0.25f},
                        {{7, 1}, 0.25f},
                        {{8, 0}, t},
                        {{9, 1}, t},
                        {{10, 0}, t},
                        {{11, 1}, t}});
}

TEST(MixConvert, TwentyTwoTwoToSevenOneFour) {
    // 22.2 bus: L0 R1 C2 LFE3 Ls4 Rs5 Lc6 Rc7 Cs8 Sl9 Sr10 Tc11 Tfl12 Tfc13 Tfr14 Trl15
    // Trc16 Trr17 LFE2 18 Tsl19 Tsr20 Bfl21 Bfc22 Bfr23.
    // 7.1.4 bus: L0 R1 C2 LFE3 Ls4 Rs5 Sl6 Sr7 Tfl8 Tfr9 Trl10 Trr11.
    // The speakers both have are an identity: over the output's two layers the
    // height runs from its ear row to its top row, so the ear row stays on the
    // ear layer and the bottom row comes up to it.
    auto model = makeModel(Layout::k22_2, Layout::k7_1_4);
    const Gains expected = {
        {{0, 0}, 1.0f},   {{1, 1}, 1.0f},   {{2, 2}, 1.0f},   {{4, 4}, 1.0f},   {{5, 5}, 1.0f}, // ear
        {{9, 6}, 1.0f},   {{10, 7}, 1.0f},  {{12, 8}, 1.0f},  {{14, 9}, 1.0f},  // sides, top fronts
        {{15, 10}, 1.0f}, {{17, 11}, 1.0f},                                     // top rears
        {{21, 0}, 1.0f},  {{22, 2}, 1.0f},  {{23, 1}, 1.0f},                    // bottom
        {{6, 0}, h},      {{6, 2}, h},      {{7, 2}, h},      {{7, 1}, h},      // Lc, Rc
        {{8, 4}, h},      {{8, 5}, h},                                          // Cs
        {{13, 8}, h},     {{13, 9}, h},     {{16, 10}, h},    {{16, 11}, h},    // Tfc, Trc
        {{19, 8}, h},     {{19, 10}, h},    {{20, 9}, h},     {{20, 11}, h},    // Tsl, Tsr
        {{11, 8}, 0.5f},  {{11, 9}, 0.5f},  {{11, 10}, 0.5f}, {{11, 11}, 0.5f}, // Tc
        {{3, 3}, h},      {{18, 3}, h}, // both LFEs share the one LFE output at equal power
    };
    expectMatrix(*model, expected);
}

TEST(MixConvert, FlatSourcesIntoTwentyTwoTwoKeepTheirEarLevel) {
    // 5.1 into 22.2: the fronts one to one; the surrounds stand between the
    // output's sides and rears, at equal power on each; the LFE feeds both
    // LFE outputs. The bottom level (0 by default without input bottoms)
    // doesn't touch them.
    expectMatrix(*makeModel(Layout::k5_1, Layout::k22_2), {{{0, 0}, 1.0f},
                                                           {{1, 1}, 1.0f},
                                                           {{2, 2}, 1.0f},
                                                           {{4, 4}, h},
                                                           {{4, 9}, h},
                                                           {{5, 5}, h},
                                                           {{5, 10}, h},
                                                           {{3, 3}, h},
                                                           {{3, 18}, h}});
    expectMatrix(*makeModel(Layout::kMono, Layout::k22_2), {{{0, 2}, 1.0f}});
    // The bottom level acts on input bottom speakers alone.
    auto model = makeModel(Layout::k5_1, Layout::k22_2);
    model->setParamValue(ParamId::kBottomLvl, 0.0);
    EXPECT_EQ(gain(*model, 0, 0), 1.0f);
    auto bottoms = makeModel(Layout::k22_2, Layout::k22_2);
    bottoms->setParamValue(ParamId::kBottomLvl, 0.0);
    EXPECT_EQ(gain(*bottoms, 21, 21), 0.0f);
    EXPECT_EQ(gain(*bottoms, 0, 0), 1.0f);
}

TEST(MixConvert, SingleRowLayoutsConvertPairToPair) {
    // Top alone and bottom alone are the grid's only layer.
    expectMatrix(*makeModel(Layout::kStereoTflTfr, Layout::kStereo), diagonal(2));
    expectMatrix(*makeModel(Layout::kStereo, Layout::kStereoBflBfr), diagonal(2));
    expectMatrix(*makeModel(Layout::kStereoBflBfr, Layout::kStereoTrlTrr), diagonal(2));
    // Into one speaker, each at equal power.
    expectMatrix(*makeModel(Layout::kStereoTflTfr, Layout::kMono), {{{0, 0}, h}, {{1, 0}, h}});
}

TEST(MixConvert, EveryBitHasItsOwnChannel) {
    // "7.1 Cine Center High", bus L R C LFE Ls Rs Cs Tfc: Tfc keeps its own
    // channel (7), the LFE its own (3). Into 5.1, Tfc comes down onto C and Cs
    // spreads over the surround pair.
    const auto high = Layout::k7_1CineCenterHigh;
    expectMatrix(*makeModel(high, high), diagonal(8));
    expectMatrix(*makeModel(high, Layout::k5_1), diagonal(6, {{{7, 2}, 1.0f}, {{6, 4}, h}, {{6, 5}, h}}));
    // "7.1 Cine Full Rear", bus L R C LFE Ls Rs Lcs Rcs: Rcs (7) and Rs (5)
    // are told apart. Into 5.1, Lcs at a third of the rear row: the far Rs
    // gets (1 - 1/3) * sqrt(1/2), the near Ls the complement.
    const auto rear = Layout::k7_1CineFullRear;
    expectMatrix(*makeModel(rear, rear), diagonal(8));
    const float farSide = (2.0f / 3.0f) * h;
    const float nearSide = std::sqrt(1.0f - farSide * farSide);
    expectMatrix(*makeModel(rear, Layout::k5_1),
                 diagonal(6, {{{6, 4}, nearSide}, {{6, 5}, farSide}, {{7, 5}, nearSide}, {{7, 4}, farSide}}));
    // "8.1 MPEG" keeps its top front centre on top, and a lone top centre
    // takes its speaker at a factor of 1, not a flipped one.
    expectMatrix(*makeModel(Layout::k8_1Mpeg, Layout::k8_1Mpeg), diagonal(9));
    expectMatrix(*makeModel(Layout::k7_1CineTopCenter, Layout::k7_1CineTopCenter), diagonal(8));
}

TEST(MixConvert, FiveZeroFourToSevenOneFour) {
    // 5.0.4 bus: L R C Ls Rs Tfl Tfr Trl Trr. With sides in the output and none
    // in the input, the rears move to y = 0.75, between sides and rears.
    auto model = makeModel(Plx::Layout::k5_0_4, Plx::Layout::k7_1_4);
    // Top rear at y 0.75 over the top's front and rear zones: f = 0.5.
    const float weak = 0.5f * h;
    const float strong = std::sqrt(1.0f - weak * weak);
    expectMatrix(*model, diagonal(3, {{{3, 6}, h},
                                      {{3, 4}, h},
                                      {{4, 7}, h},
                                      {{4, 5}, h},
                                      {{5, 8}, 1.0f},
                                      {{6, 9}, 1.0f},
                                      {{7, 8}, weak},
                                      {{7, 10}, strong},
                                      {{8, 9}, weak},
                                      {{8, 11}, strong}}));

    // Direct routing maps bit to bit, but output 5 would read input 4 after
    // output 4 has replaced it in place, so it is no pure routing.
    expectMatrix(*model,
                 diagonal(3, {{{3, 4}, 1.0f},
                              {{4, 5}, 1.0f},
                              {{5, 8}, 1.0f},
                              {{6, 9}, 1.0f},
                              {{7, 10}, 1.0f},
                              {{8, 11}, 1.0f}}),
                 MixGainSet::kDirect);
    EXPECT_FALSE(model->getGainSet()->simple[MixGainSet::kDirect]);
}

TEST(MixConvert, AmbisonicChannelsKeepTheirPlaces) {
    // Ambisonic channels are speakers of one front zone, each with a place of
    // its own: equal orders convert as an identity, W included.
    for (auto order : {Layout::kAmbi1, Layout::kAmbi2, Layout::kAmbi3}) {
        auto model = makeModel(order, order);
        const int n = Plx::channelCount(order);
        std::vector<int32_t> identity(static_cast<size_t>(n));
        for (int i = 0; i < n; ++i) identity[static_cast<size_t>(i)] = i;
        EXPECT_EQ(model->getGainSet()->inMap, identity);
        expectMatrix(*model, diagonal(n));
        expectMatrix(*model, diagonal(n), MixGainSet::kDirect);
        EXPECT_TRUE(model->getGainSet()->simple[MixGainSet::kNormal]);
    }
    // Stereo into the four: L and R stand at the ends of the zone.
    expectMatrix(*makeModel(Layout::kStereo, Layout::kAmbi1), {{{0, 0}, 1.0f}, {{1, 3}, 1.0f}});
}

TEST(MixConvert, SoloSoloToCenterAndSurroundToFront) {
    auto model = makeModel(Plx::Layout::k5_1, Plx::Layout::k5_1);
    model->setParamValue(ParamId::kInputSoloFirst + 0, 1.0); // L
    expectMatrix(*model, {{{0, 0}, 1.0f}});
    model->setParamValue(ParamId::kInputSoloFirst + 0, 0.0);
    expectMatrix(*model, diagonal(6));

    // Solo to centre: the soloed Ls and the soloed LFE both play from C.
    model->setParamValue(ParamId::kSoloToCenter, 1.0);
    model->setParamValue(ParamId::kInputSoloFirst + 3, 1.0);  // Ls
    model->setParamValue(ParamId::kInputSoloFirst + 24, 1.0); // LFE
    expectMatrix(*model, {{{4, 2}, 1.0f}, {{3, 2}, 1.0f}});
    model->setParamValue(ParamId::kInputSoloFirst + 3, 0.0);
    model->setParamValue(ParamId::kInputSoloFirst + 24, 0.0);

    // Surround to front replaces the fronts by the surrounds, and drops the LFE.
    model->setParamValue(ParamId::kSurroundToFront, 1.0);
    EXPECT_FALSE(model->getSoloToCenter());
    expectMatrix(*model, {{{4, 0}, 1.0f}, {{5, 1}, 1.0f}});
    model->setParamValue(ParamId::kSoloToCenter, 1.0);
    EXPECT_FALSE(model->getSurroundToFront());

    // Output solo keeps only the soloed output's column; the LFE input follows.
    auto down = makeModel(Plx::Layout::k5_1, Plx::Layout::kStereo);
    down->setParamValue(ParamId::kOutputSoloFirst + 0, 1.0);
    expectMatrix(*down, {{{0, 0}, 1.0f}, {{2, 0}, h}, {{3, 0}, h}, {{4, 0}, 0.5f}});

    // A speaker that the input lacks sets its solo flag only.
    auto stereo = makeModel(Plx::Layout::kStereo, Plx::Layout::kStereo);
    stereo->setParamValue(ParamId::kInputSoloFirst + 3, 1.0); // Ls
    EXPECT_TRUE(stereo->isInputSolo(3));
    EXPECT_FALSE(stereo->isInSoloActive());
    expectMatrix(*stereo, diagonal(2));
    // A mono input answers to the centre's solo only.
    auto mono = makeModel(Plx::Layout::kMono, Plx::Layout::kStereo);
    mono->setParamValue(ParamId::kInputSoloFirst + 0, 1.0); // L
    EXPECT_FALSE(mono->isInSoloActive());
    mono->setParamValue(ParamId::kInputSoloFirst + 2, 1.0); // C
    EXPECT_TRUE(mono->isInSoloActive());
    expectMatrix(*mono, {{{0, 0}, h}, {{0, 1}, h}});
}

TEST(MixConvert, LfeRowsForEveryLfeCombination) {
    struct Case {
        Plx::SpeakerArrangement in, out;
        Gains lfe; // expected LFE rows and columns
    };
    const float q = h * 0.5f;
    const Case cases[] = {
        // none in, one out: each main input at g / numIn.
        {Plx::Layout::kStereo, Plx::Layout::k5_1, {{{0, 3}, 0.5f}, {{1, 3}, 0.5f}}},
        // one in, one out.
        {Plx::Layout::k5_1, Plx::Layout::k5_1, {{{3, 3}, 1.0f}}},
        // none in, two out (22.2: LFE at 3, LFE2 at 18): sqrt(1/2) * g / numIn each.
        {Plx::Layout::kStereo, Plx::Layout::k22_2, {{{0, 3}, q}, {{0, 18}, q}, {{1, 3}, q}, {{1, 18}, q}}},
        // one in, two out.
        {Plx::Layout::k5_1, Plx::Layout::k22_2, {{{3, 3}, h}, {{3, 18}, h}}},
        // two in, two out: the diagonal.
        {Plx::Layout::k22_2, Plx::Layout::k22_2, {{{3, 3}, 1.0f}, {{18, 18}, 1.0f}}},
        // one in, none out: to every main output.
        {Plx::Layout::k5_1,
         Plx::Layout::k5_0,
         {{{3, 0}, 1.0f}, {{3, 1}, 1.0f}, {{3, 2}, 1.0f}, {{3, 3}, 1.0f}, {{3, 4}, 1.0f}}},
        // two in, one out: both share it at equal power; two in, none out: both are dropped.
        {Plx::Layout::k22_2, Plx::Layout::k5_1, {{{3, 3}, h}, {{18, 3}, h}}},
        {Plx::Layout::k22_2, Plx::Layout::k7_0_4, {}},
        {Plx::Layout::kStereo, Plx::Layout::kStereo, {}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << std::hex << c.in << " -> " << c.out);
        auto model = makeModel(c.in, c.out);
        model->setParamValue(ParamId::kLfeLevel, 0.5); // 0 dB
        const MixMatrix& m = model->getGainSet()->matrix[0];
        for (int i = 0; i < m.rows; ++i)
            for (int o = 0; o < m.cols; ++o) {
                if (!isLfeChannel(c.in, i) && !isLfeChannel(c.out, o)) continue;
                auto it = c.lfe.find({i, o});
                EXPECT_NEAR(m.at(i, o), it == c.lfe.end() ? 0.0f : it->second, kTol) << i << " -> " << o;
            }
        // The global level scales the LFE too.
        model->setParamValue(ParamId::kGlobalLvl, Mix::kLevelScale.toNormalized(0.5));
        for (const auto& [io, v] : c.lfe) EXPECT_NEAR(m.at(io.first, io.second), 0.5f * v, kTol);
    }

    // Direct routing passes the LFE as a bit like any other.
    auto model = makeModel(Plx::Layout::k5_1, Plx::Layout::k22_2);
    EXPECT_EQ(gain(*model, 3, 3, MixGainSet::kDirect), 1.0f);
    EXPECT_EQ(gain(*model, 3, 18, MixGainSet::kDirect), 0.0f);
}
