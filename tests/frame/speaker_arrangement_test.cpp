#include "frame/speaker_arrangement.h"

#include <gtest/gtest.h>

#include <set>
#include <sstream>
#include <string>

using namespace Tannhofen::Plx;

TEST(SpeakerArrangement, NamesOfKnownAndUnknownMasks) {
    EXPECT_STREQ(speakerArrangementName(Layout::k5_1, false), "5.1");
    EXPECT_STREQ(speakerArrangementName(Layout::k5_1, true), "L R C LFE Ls Rs");
    EXPECT_STREQ(speakerArrangementName(Layout::kMono, false), "Mono");
    EXPECT_STREQ(speakerArrangementName(Layout::k22_2, false), "22.2");
    EXPECT_STREQ(speakerArrangementName(Layout::kAmbi3, false), "3rd Order Ambisonics");
    EXPECT_STREQ(speakerArrangementName(Layout::k7_1_4, true), "L R C LFE Ls Rs Sl Sr Tfl Tfr Trl Trr");
    // Long names that users know with their slips.
    EXPECT_STREQ(speakerArrangementName(Layout::k7_1CineFrontHigh, true), "L R C LFE Ls Rs Tfl Tfl");
    EXPECT_STREQ(speakerArrangementName(Layout::k7_1CineSideHigh, true), "L R C LFE Ls Rs Tsl Tsl");
    EXPECT_STREQ(speakerArrangementName(Layout::k9_1Cine, true), "L R C Lfe Ls Rs Lc Rc Sl Sr");
    EXPECT_STREQ(speakerArrangementName(Layout::k10_1Cine, true), "L R C Lfe Ls Rs Lc Rc Cs Sl Sr");
    for (SpeakerArrangement unknown :
         {SpeakerArrangement{0}, Speaker::L, Layout::k5_1 & ~Speaker::L, SpeakerArrangement{1ull << 63}}) {
        EXPECT_STREQ(speakerArrangementName(unknown, false), "");
        EXPECT_STREQ(speakerArrangementName(unknown, true), "");
    }
}

TEST(SpeakerArrangement, TableIsConsistent) {
    const ArrangementInfo* table = arrangementTable();
    std::set<std::string> shortNames;
    for (int32_t i = 0; i < kArrangementCount; ++i) {
        const ArrangementInfo& row = table[i];
        if (i > 0) {
            EXPECT_LT(table[i - 1].mask, row.mask) << row.shortName;
        }
        EXPECT_TRUE(shortNames.insert(row.shortName).second) << row.shortName;
        // The long name lists one word per channel.
        std::istringstream words(row.longName);
        int32_t n = 0;
        for (std::string w; words >> w;) ++n;
        EXPECT_EQ(n, channelCount(row.mask)) << row.shortName;
        EXPECT_STREQ(speakerArrangementName(row.mask, false), row.shortName);
        EXPECT_STREQ(speakerArrangementName(row.mask, true), row.longName);
    }
    EXPECT_EQ(channelCount(0), 0);
    EXPECT_EQ(channelCount(~SpeakerArrangement{0}), 64);
}

TEST(SpeakerArrangement, IndexAndBitConversions) {
    // The 26 indices cover 26 distinct speaker bits and come back unchanged.
    const SpeakerArrangement expected[kSpeakerIndexCount] = {
        Speaker::L,   Speaker::R,   Speaker::C,   Speaker::Ls,  Speaker::Rs,  Speaker::Lc,  Speaker::Rc,
        Speaker::Cs,  Speaker::Sl,  Speaker::Sr,  Speaker::Tc,  Speaker::Tfl, Speaker::Tfc, Speaker::Tfr,
        Speaker::Trl, Speaker::Trc, Speaker::Trr, Speaker::Tsl, Speaker::Tsr, Speaker::Lcs, Speaker::Rcs,
        Speaker::Bfl, Speaker::Bfc, Speaker::Bfr, Speaker::LFE, Speaker::LFE2};
    for (int32_t i = 0; i < kSpeakerIndexCount; ++i) {
        EXPECT_EQ(indexToBit(i), expected[i]) << i;
        EXPECT_EQ(bitToIndex(expected[i]), i) << i;
    }
    EXPECT_EQ(bitToIndex(Speaker::Tsl), 17);
    EXPECT_EQ(indexToBit(17), SpeakerArrangement{1} << 24);
    // Beyond the table an index names the bit of the same number.
    EXPECT_EQ(indexToBit(26), SpeakerArrangement{1} << 26);
    EXPECT_EQ(indexToBit(40), SpeakerArrangement{1} << 40);
    EXPECT_EQ(indexToBit(-1), 0u);
    // The index of a bit outside the 26 follows the same three ranges.
    EXPECT_EQ(bitToIndex(Speaker::M), 18);
    EXPECT_EQ(bitToIndex(Speaker::Pl), 24);
    EXPECT_EQ(bitToIndex(SpeakerArrangement{1} << 63), 56);
}
