// Properties of the mix model over every pair of named arrangements, bad input
// from a host (the setters may not allocate), deferred batches, the grids, the
// scales and the parameter table.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <random>
#include <set>
#include <stdexcept>
#include <tuple>

#include "frame/speaker_arrangement.h"
#include "mix/log_scale.h"
#include "mix/mix_params.h"
#include "tests/mix/mix_test_util.h"
#include "tests/support/rt_guard.h"

using namespace Tannhofen;
using namespace Tannhofen::Mix;
using namespace Tannhofen::Mix::Test;

namespace {

// Every grid position has a bus channel of its own.
bool isPermutation(std::vector<int32_t> map) {
    std::sort(map.begin(), map.end());
    for (size_t i = 0; i < map.size(); ++i)
        if (map[i] != static_cast<int32_t>(i)) return false;
    return true;
}

bool hasSingleSpeakerZone(const SpeakerGrid& g) {
    for (uint32_t r = 0; r < SpeakerGrid::kRows; ++r)
        for (uint32_t z = 0; z < SpeakerGrid::kZones; ++z)
            if (g.count(r, z) == 1) return true;
    return false;
}

// Bus channels of the main speakers (all but LFE and LFE2).
std::vector<int> mainChannels(Plx::SpeakerArrangement arr) {
    std::vector<int> out;
    for (int ch = 0; ch < Plx::channelCount(arr); ++ch)
        if (!isLfeChannel(arr, ch)) out.push_back(ch);
    return out;
}

void expectFinite(const MMixerModel& model) {
    for (int which = 0; which < 2; ++which)
        for (float v : model.getGainSet()->matrix[which].data) ASSERT_TRUE(std::isfinite(v));
}

} // namespace

TEST(MixProperties, AllPairsOfNamedArrangements) {
    const Plx::ArrangementInfo* table = Plx::arrangementTable();
    int unitPowerPairs = 0;
    for (int a = 0; a < Plx::kArrangementCount; ++a) {
        for (int b = 0; b < Plx::kArrangementCount; ++b) {
            const Plx::SpeakerArrangement in = table[a].mask, out = table[b].mask;
            SCOPED_TRACE(testing::Message() << table[a].shortName << " -> " << table[b].shortName);
            auto model = makeModel(in, out);
            const MixGainSet& set = *model->getGainSet();
            const MixMatrix& m = set.matrix[MixGainSet::kNormal];
            ASSERT_EQ(m.rows, Plx::channelCount(in));
            ASSERT_EQ(m.cols, Plx::channelCount(out));
            // Every speaker has a bus channel of its own.
            ASSERT_TRUE(isPermutation(set.inMap) && isPermutation(set.outMap));
            expectFinite(*model);
            for (float v : m.data) {
                ASSERT_GE(v, 0.0f);
                ASSERT_LE(v, 1.0f + kTol);
            }
            // Direct routing holds only ones and zeros.
            for (float v : set.matrix[MixGainSet::kDirect].data) ASSERT_TRUE(v == 0.0f || v == 1.0f);

            // At default settings no main input is silent on the main outputs,
            // and a layout into itself is an identity.
            const std::vector<int> ins = mainChannels(in), outs = mainChannels(out);
            for (int i : ins) {
                float loudest = 0.0f;
                for (int o : outs) loudest = std::max(loudest, m.at(i, o));
                EXPECT_GT(loudest, kGainTolerance) << "input channel " << i << " is silent";
            }
            if (in == out) {
                for (int i = 0; i < m.rows; ++i)
                    for (int o = 0; o < m.cols; ++o)
                        ASSERT_EQ(m.at(i, o), i == o ? 1.0f : 0.0f) << i << " " << o;
            }

            // Unit power: every level at 0 dB (the centre at -3 dB where the
            // centre source is doubled onto a pair), no fold of depth zones into
            // one ring, no single-speaker zone.
            const SpeakerGrid& gi = model->getInGrid();
            const SpeakerGrid& go = model->getOutGrid();
            const bool folding = gi.usedZones(1) >= 2 && go.usedZones(1) == 1;
            if (folding || hasSingleSpeakerZone(go)) continue;
            for (int id : {ParamId::kSurroundLvl, ParamId::kSideLvl, ParamId::kTopLvl, ParamId::kBottomLvl,
                           ParamId::kGlobalLvl})
                model->setParamValue(id, 0.75);
            const bool doubled = !go.hasFrontCenter() && Plx::channelCount(out) > 1;
            model->setParamValue(ParamId::kCenterLvl, doubled ? kLevelScale.toNormalized(0.70710677) : 0.75);
            for (int i : ins) {
                double power = 0.0;
                for (int o : outs) power += double(m.at(i, o)) * m.at(i, o);
                EXPECT_NEAR(power, 1.0, 1e-5) << "input channel " << i;
            }
            ++unitPowerPairs;
        }
    }
    EXPECT_GT(unitPowerPairs, 2000);
}

TEST(MixProperties, HostMasksNeverRaiseGridErrorsNorAllocate) {
    std::vector<Plx::SpeakerArrangement> masks;
    for (int b = 0; b < 64; ++b) masks.push_back(1ull << b);
    std::mt19937_64 rng(20261122);
    for (int k = 0; k < 150; ++k) masks.push_back(rng() & (k % 2 ? ~0ull : (1ull << 38) - 1));
    masks.push_back(0);
    const Plx::SpeakerArrangement partners[] = {0,
                                                Plx::Layout::kStereo,
                                                Plx::Layout::kMono,
                                                Plx::Layout::k5_1,
                                                Plx::Layout::k7_1_4,
                                                Plx::Layout::k22_2,
                                                Plx::Layout::kAmbi1};
    // Once the arrangements are set, setters and updates run on the audio
    // thread: they may not allocate.
    auto exercise = [](Plx::SpeakerArrangement in, Plx::SpeakerArrangement out) {
        SCOPED_TRACE(testing::Message() << std::hex << in << " -> " << out);
        auto model = makeModel(in, out);
        // Whatever the mask, every grid position maps to a bus channel that
        // the matrix has: positions are clamped to the map.
        const MixGainSet& set = *model->getGainSet();
        for (const auto* map : {&set.inMap, &set.outMap}) {
            const auto size = static_cast<int32_t>(map->size());
            for (int32_t channel : *map) ASSERT_TRUE(channel >= 0 && channel < size) << channel;
        }
        RtGuard::arm();
        for (int s = 0; s < Plx::kSpeakerIndexCount; ++s) {
            model->setParamValue(ParamId::kInputSoloFirst + s, 1.0);
            model->setParamValue(ParamId::kOutputSoloFirst + s, 1.0);
        }
        for (int id : {ParamId::kSoloToCenter, ParamId::kSurroundToFront, ParamId::kLfeLevel})
            model->setParamValue(id, 1.0);
        model->setDeferred(true);
        for (int id = 0; id < 300; ++id) model->setParamValue(id, 0.6);
        model->setDeferred(false);
        model->setParamValue(ParamId::kCenterLvl, 0.3);
        model->updateMain(true);
        model->setLfeLevel(0.3);
        EXPECT_EQ(RtGuard::disarm().allocations, 0);
        expectFinite(*model);
    };
    for (Plx::SpeakerArrangement mask : masks)
        for (Plx::SpeakerArrangement partner : partners) {
            EXPECT_NO_THROW(exercise(mask, partner));
            EXPECT_NO_THROW(exercise(partner, mask));
        }
    for (int k = 0; k < 200; ++k) EXPECT_NO_THROW(exercise(rng(), rng()));

    // Indexing outside the grid is a programming fault, and says so.
    SpeakerGrid grid(Plx::Layout::k5_1);
    EXPECT_THROW(grid.count(3, 0), std::out_of_range);
    EXPECT_THROW(grid.countOf(0, 3), std::out_of_range);
}

TEST(MixProperties, UnknownIdsAndParameterRoundTrips) {
    auto model = makeModel(Plx::Layout::k5_1, Plx::Layout::kStereo);
    const std::vector<float> before = model->getGainSet()->matrix[0].data;
    for (int id : {-1, 0, 12, 43, 58, 85, 130, 200, 256, 266, 1000}) {
        model->setParamValue(id, 0.3);
        EXPECT_EQ(model->getParamValue(id), -1.0) << id;
    }
    EXPECT_EQ(model->getGainSet()->matrix[0].data, before);

    // Flags are on only at 1.0; the direct mode at any value from 0.5.
    for (auto [id, write, read] : {std::tuple{ParamId::kLowPass, 0.9, 0.0},
                                   {ParamId::kDirectMode, 0.5, 1.0},
                                   {ParamId::kSurroundToFront, 1.0, 1.0}}) {
        model->setParamValue(id, write);
        EXPECT_EQ(model->getParamValue(id), read) << id;
    }
}

namespace {

class CountingModel : public MMixerModel {
public:
    void updateMain(bool direct) override {
        if (!direct && !isDeferred()) ++mainRuns;
        MMixerModel::updateMain(direct);
    }
    int mainRuns = 0;
};

} // namespace

TEST(MixProperties, DeferredBatchComputesOnce) {
    auto batched = makeModel<CountingModel>(Plx::Layout::k7_1_4, Plx::Layout::k5_1);
    auto reference = makeModel(Plx::Layout::k7_1_4, Plx::Layout::k5_1);
    batched->mainRuns = 0;
    batched->setDeferred(true);
    for (int id : {ParamId::kCenterLvl, ParamId::kSurroundLvl, ParamId::kTopLvl, ParamId::kSideLvl}) {
        batched->setParamValue(id, 0.6);
        reference->setParamValue(id, 0.6);
    }
    EXPECT_EQ(batched->mainRuns, 0);
    batched->setDeferred(false);
    EXPECT_EQ(batched->mainRuns, 1);
    EXPECT_EQ(batched->getGainSet()->matrix[0].data, reference->getGainSet()->matrix[0].data);

    // An LFE change alone in a batch recomputes only the LFE.
    batched->setDeferred(true);
    batched->setParamValue(ParamId::kLfeLevel, 0.25);
    batched->setDeferred(false);
    EXPECT_EQ(batched->mainRuns, 1);
    EXPECT_NEAR(gain(*batched, 3, 3), 0.25f, kTol); // 0.25 ^ 2 * 4

    // Setting a level to its present value recomputes nothing.
    batched->setParamValue(ParamId::kGlobalLvl, batched->getParamValue(ParamId::kGlobalLvl));
    EXPECT_EQ(batched->mainRuns, 1);
}

TEST(MixProperties, GridsAndChannelMaps) {
    // 22.2: three layers, its ear row 5 / 2 / 3 speakers by zone.
    SpeakerGrid g222(Plx::Layout::k22_2);
    EXPECT_EQ(g222.layers(), 3u);
    EXPECT_EQ(g222.countOf(1, 0) * 100 + g222.countOf(1, 1) * 10 + g222.countOf(1, 2), 523u);
    // Grid order of 5.1 is L C R Ls Rs LFE; the bus order L R C LFE Ls Rs.
    EXPECT_EQ(makeModel(Plx::Layout::k5_1, Plx::Layout::k5_1)->getGainSet()->inMap,
              (std::vector<int32_t>{0, 2, 1, 4, 5, 3}));
    // An empty arrangement computes nothing and stays safe.
    EXPECT_EQ(makeModel(0, Plx::Layout::k5_1)->getGainSet()->matrix[0].rows, 0);
}

TEST(MixProperties, ScalesAndParameterTable) {
    for (double n = 0.05; n < 1.0; n += 0.05) {
        EXPECT_NEAR(kLevelScale.toNormalized(kLevelScale.toLinear(n)), n, 1e-6);
        EXPECT_NEAR(kLfeScale.toNormalized(kLfeScale.toLinear(n)), n, 1e-6);
    }

    const MixParamTable& table = MixParamTable::instance();
    ASSERT_EQ(table.count(), 52);
    std::set<int32_t> ids;
    for (int32_t i = 0; i < table.count(); ++i) EXPECT_TRUE(ids.insert(table.row(i).id).second);

    // Plain values: decibels for the levels (0 dB at 0.75, the LFE's at 0.5), ranges for the rest.
    EXPECT_NEAR(table.toPlain(ParamId::kCenterLvl, 0.75), 0.0, 1e-5);
    EXPECT_NEAR(table.toPlain(ParamId::kLfeLevel, 0.5), 0.0, 1e-5);
    EXPECT_EQ(table.toPlain(ParamId::kSideLvl, 0.0), -180.0);
    EXPECT_EQ(table.toNormalized(ParamId::kSideLvl, -200.0), 0.0);
    EXPECT_NEAR(table.toNormalized(ParamId::kTopLvl, table.toPlain(ParamId::kTopLvl, 0.4)), 0.4, 1e-6);
    EXPECT_EQ(table.toPlain(ParamId::kActiveParts, 1.0), 3.0);
    EXPECT_EQ(table.toNormalized(ParamId::kActiveParts, 5.0), 1.0);
    EXPECT_EQ(table.toPlain(999, 0.3), 0.3);
    EXPECT_EQ(table.toNormalized(999, 7.0), 7.0);
}
