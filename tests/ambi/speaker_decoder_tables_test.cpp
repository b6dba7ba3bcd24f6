// The decoder tables as data: their shapes, the rows and columns that must be
// zero, the tables that are fixed by value, and the left-right symmetry of the
// layouts they decode to.
#include "ambi/speaker_decoders.h"
#include "ambi/speaker_directions.h"
#include "frame/speaker_arrangement.h"

#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <vector>

namespace {

using namespace Tannhofen;
using namespace Tannhofen::AmbiBin;
namespace Layout = Plx::Layout;
namespace Speaker = Plx::Speaker;

uint32_t channelsOf(int32_t order) {
    return uint32_t((order + 1) * (order + 1));
}

// Row of a speaker bit in a table of the arrangement: the set bits below it.
int32_t rowOf(Plx::SpeakerArrangement arrangement, Plx::SpeakerArrangement speaker) {
    return std::popcount(arrangement & (speaker - 1));
}

TEST(SpeakerDecoderTables, OneTableOfTheRightShapeForEachLayoutAndOrder) {
    const Plx::SpeakerArrangement expected[] = {Layout::kMono,  Layout::kStereo,   Layout::k5_0,
                                                Layout::k5_1,   Layout::k7_1Music, Layout::k7_0_2,
                                                Layout::k7_1_2, Layout::k5_1_4,    Layout::k10_1Auro3D,
                                                Layout::k7_1_4, Layout::k22_2};
    ASSERT_EQ(speakerLayouts().size(), std::size(expected));
    size_t total = 0;
    for (size_t i = 0; i < std::size(expected); ++i) {
        EXPECT_EQ(speakerLayouts()[i].arrangement, expected[i]);
        for (int32_t order = 1; order <= 3; ++order) {
            const float* table = findSpeakerDecoder(order, expected[i]);
            ASSERT_NE(table, nullptr)
                << Plx::speakerArrangementName(expected[i], false) << " order " << order;
            bool found = false;
            for (const auto& t : speakerDecoderTables())
                if (t.arrangement == expected[i] && t.order == order) {
                    EXPECT_EQ(t.values.data(), table);
                    EXPECT_EQ(t.values.size(), size_t(Plx::channelCount(expected[i])) * channelsOf(order));
                    total += t.values.size();
                    found = true;
                }
            EXPECT_TRUE(found);
        }
    }
    EXPECT_EQ(speakerDecoderTables().size(), 33u);
    EXPECT_EQ(total, 2842u);

    // Orders and arrangements outside the tables find nothing.
    EXPECT_EQ(findSpeakerDecoder(0, Layout::k5_1), nullptr);
    EXPECT_EQ(findSpeakerDecoder(4, Layout::k5_1), nullptr);
    EXPECT_EQ(findSpeakerDecoder(-1, Layout::kStereo), nullptr);
    EXPECT_EQ(findSpeakerDecoder(3, Layout::k7_0_4), nullptr);
    EXPECT_EQ(findSpeakerDecoder(1, Layout::kAmbi1), nullptr);
    EXPECT_EQ(findSpeakerDecoder(1, 0), nullptr);
}

TEST(SpeakerDecoderTables, DirectionsCoverEverySpeakerButTheLfeInBitOrder) {
    for (const auto& layout : speakerLayouts()) {
        Plx::SpeakerArrangement covered = 0, previous = 0;
        for (const auto& s : layout.speakers) {
            EXPECT_EQ(std::popcount(s.speaker), 1);
            EXPECT_GT(s.speaker, previous) << "speakers out of bit order";
            previous = s.speaker;
            covered |= s.speaker;
            EXPECT_LE(std::abs(s.azimuth), 180.0);
            EXPECT_LE(std::abs(s.elevation), 90.0);
        }
        EXPECT_EQ(covered, layout.arrangement & ~(Speaker::LFE | Speaker::LFE2));
        EXPECT_NE(std::string(layout.source), "");
        EXPECT_EQ(findSpeakerLayout(layout.arrangement), &layout);
    }
    EXPECT_EQ(findSpeakerLayout(Layout::k7_0_4), nullptr);
    // Where both pairs exist, Sl/Sr are at the sides and Ls/Rs behind them.
    const auto* l = findSpeakerLayout(Layout::k7_1_4);
    ASSERT_NE(l, nullptr);
    for (const auto& s : l->speakers) {
        if (s.speaker == Speaker::Sl) {
            EXPECT_EQ(s.azimuth, 90.0);
        }
        if (s.speaker == Speaker::Ls) {
            EXPECT_EQ(s.azimuth, 135.0);
        }
    }
    std::vector<Plx::SpeakerArrangement> horizontal;
    for (const auto& layout : speakerLayouts())
        if (isHorizontal(layout)) horizontal.push_back(layout.arrangement);
    EXPECT_EQ(horizontal, (std::vector<Plx::SpeakerArrangement>{Layout::kMono, Layout::kStereo, Layout::k5_0,
                                                                Layout::k5_1, Layout::k7_1Music}));
}

TEST(SpeakerDecoderTables, LfeRowsAndVanishingHarmonicsOnTheHorizonAreZero) {
    // ACN channels odd in elevation: zero everywhere on the horizon.
    const uint32_t vanishing[] = {2, 5, 7, 10, 12, 14};
    for (const auto& t : speakerDecoderTables()) {
        const uint32_t columns = channelsOf(t.order);
        const auto* layout = findSpeakerLayout(t.arrangement);
        ASSERT_NE(layout, nullptr);
        for (int bit = 0; bit < 64; ++bit) {
            const Plx::SpeakerArrangement speaker = Plx::SpeakerArrangement(1) << bit;
            if (!(t.arrangement & speaker)) continue;
            const float* row = t.values.data() + rowOf(t.arrangement, speaker) * columns;
            bool zero = true;
            for (uint32_t c = 0; c < columns; ++c) zero = zero && row[c] == 0.0f;
            const bool lfe = speaker == Speaker::LFE || speaker == Speaker::LFE2;
            EXPECT_EQ(zero, lfe) << Plx::speakerArrangementName(t.arrangement, false) << " order " << t.order
                                 << " bit " << bit;
        }
        if (!isHorizontal(*layout)) continue;
        for (uint32_t c : vanishing)
            for (size_t r = 0; c < columns && r < t.values.size() / columns; ++r)
                EXPECT_EQ(t.values[r * columns + c], 0.0f)
                    << Plx::speakerArrangementName(t.arrangement, false) << " order " << t.order << " ACN "
                    << c;
    }
}

TEST(SpeakerDecoderTables, FixedTablesKeepTheirValues) {
    for (int32_t order = 1; order <= 3; ++order) {
        const uint32_t n = channelsOf(order);
        std::vector<float> mono(n, 0.0f), stereo(2 * n, 0.0f);
        mono[0] = 1.0f;
        stereo[0] = 0.5f, stereo[1] = 0.5f;      // L = (W + Y) / 2
        stereo[n] = 0.5f, stereo[n + 1] = -0.5f; // R = (W - Y) / 2
        EXPECT_EQ(std::vector<float>(findSpeakerDecoder(order, Layout::kMono),
                                     findSpeakerDecoder(order, Layout::kMono) + n),
                  mono);
        EXPECT_EQ(std::vector<float>(findSpeakerDecoder(order, Layout::kStereo),
                                     findSpeakerDecoder(order, Layout::kStereo) + 2 * n),
                  stereo);
    }
    // First order "5.0", columns W Y Z X; "5.1" has a zero LFE row after C.
    const std::vector<float> fivePointZero = {0.1216f, 0.2648f,  0, 0.2890f, 0.1216f, -0.2648f, 0, 0.2890f,
                                              0.0507f, 0,        0, 0.2181f, 0.2211f, 0.2530f,  0, -0.2419f,
                                              0.2211f, -0.2530f, 0, -0.2419f};
    std::vector<float> fivePointOne = fivePointZero;
    fivePointOne.insert(fivePointOne.begin() + 12, 4, 0.0f);
    EXPECT_EQ(
        std::vector<float>(findSpeakerDecoder(1, Layout::k5_0), findSpeakerDecoder(1, Layout::k5_0) + 20),
        fivePointZero);
    EXPECT_EQ(
        std::vector<float>(findSpeakerDecoder(1, Layout::k5_1), findSpeakerDecoder(1, Layout::k5_1) + 24),
        fivePointOne);
}

TEST(SpeakerDecoderTables, LayoutsWithAnLfeDecodeLikeTheirBedsWithout) {
    const std::pair<Plx::SpeakerArrangement, Plx::SpeakerArrangement> pairs[] = {
        {Layout::k5_0, Layout::k5_1}, {Layout::k7_0_2, Layout::k7_1_2}};
    for (auto [without, with] : pairs)
        for (int32_t order = 1; order <= 3; ++order) {
            const uint32_t n = channelsOf(order);
            std::vector<float> expected(findSpeakerDecoder(order, without),
                                        findSpeakerDecoder(order, without) + Plx::channelCount(without) * n);
            expected.insert(expected.begin() + rowOf(with, Speaker::LFE) * n, n, 0.0f);
            EXPECT_EQ(std::vector<float>(findSpeakerDecoder(order, with),
                                         findSpeakerDecoder(order, with) + Plx::channelCount(with) * n),
                      expected)
                << Plx::speakerArrangementName(with, false) << " order " << order;
        }
}

TEST(SpeakerDecoderTables, MirrorSpeakersHaveMirrorRows) {
    // Every layout is left-right symmetric: the row of the speaker at azimuth
    // -a equals that of the speaker at a with the harmonics odd in azimuth
    // (m < 0: Y, V, T, ...) negated.
    for (const auto& t : speakerDecoderTables()) {
        const uint32_t columns = channelsOf(t.order);
        const auto* layout = findSpeakerLayout(t.arrangement);
        for (const auto& s : layout->speakers) {
            const SpeakerDirection* mirror = nullptr;
            for (const auto& m : layout->speakers)
                if (m.elevation == s.elevation && std::remainder(m.azimuth + s.azimuth, 360.0) == 0)
                    mirror = &m;
            ASSERT_NE(mirror, nullptr);
            const float* a = t.values.data() + rowOf(t.arrangement, s.speaker) * columns;
            const float* b = t.values.data() + rowOf(t.arrangement, mirror->speaker) * columns;
            for (uint32_t c = 0; c < columns; ++c) {
                const int n = int(std::sqrt(double(c))), m = int(c) - n * n - n;
                EXPECT_NEAR(b[c], m < 0 ? -a[c] : a[c], 1e-7f)
                    << Plx::speakerArrangementName(t.arrangement, false) << " order " << t.order << " ACN "
                    << c;
            }
        }
    }
}

} // namespace
