// The converter controller's fixed tables: the output format list, the solo
// groups and the names for remote surfaces.
#include <gtest/gtest.h>

#include <set>
#include <utility>

#include "mix/arrangement_list.h"
#include "mix/controller_tables.h"

using namespace Tannhofen;
using Mix::ArrangementList;

TEST(ArrangementList, HoldsNamedSubsetsOnceInChannelOrder) {
    ArrangementList list;
    list.addArrangements(Plx::Layout::k5_1);
    const std::vector<Plx::SpeakerArrangement> fiveOne{Plx::Layout::kLRC, Plx::Layout::kLRCLfe,
                                                       Plx::Layout::k5_0, Plx::Layout::k5_1};
    EXPECT_EQ(list.all(), fiveOne);
    list.addArrangements(Plx::Layout::k5_1);  // no duplicates
    list.addArrangements(Plx::Layout::kMono); // fewer than two channels: ignored
    EXPECT_EQ(list.all(), fiveOne);
    list.addArrangements(Plx::Layout::kStereo); // two channels: in front, nothing derived
    EXPECT_EQ(list.count(), 5);
    EXPECT_EQ(list.at(0), Plx::Layout::kStereo);

    for (Plx::SpeakerArrangement mask :
         {Plx::Layout::k7_1_4, Plx::Layout::k22_2, Plx::Layout::k9_1_6, Plx::Layout::k14_0}) {
        ArrangementList big;
        big.addArrangements(mask);
        EXPECT_EQ(big.at(big.count() - 1), mask);
        std::set<Plx::SpeakerArrangement> seen;
        for (int32_t i = 0; i < big.count(); ++i) {
            EXPECT_STRNE(Plx::speakerArrangementName(big.at(i), false), "");
            EXPECT_TRUE(seen.insert(big.at(i)).second);
            EXPECT_EQ(big.at(i) & ~mask, 0u) << "only speakers left out";
            EXPECT_TRUE(i == 0 || Plx::channelCount(big.at(i - 1)) <= Plx::channelCount(big.at(i)));
        }
    }
    // 7.1.4 gives 7.0.4 (no LFE) and 5.1.4 (no sides once there are tops).
    ArrangementList atmos;
    atmos.addArrangements(Plx::Layout::k7_1_4);
    EXPECT_TRUE(atmos.indexOf(Plx::Layout::k7_0_4) >= 0 && atmos.indexOf(Plx::Layout::k5_1_4) >= 0);
}

TEST(ArrangementList, NormalizedValueSelectsAnEntry) {
    ArrangementList list;
    EXPECT_EQ(list.indexFromNormalized(0.5), -1);
    list.addArrangements(Plx::Layout::kStereo);
    EXPECT_EQ(list.normalizedOf(0), 0.0);    // one entry gives 0
    list.addArrangements(Plx::Layout::k5_1); // 5 entries
    for (int32_t i = 0; i < list.count(); ++i) EXPECT_EQ(list.indexFromNormalized(list.normalizedOf(i)), i);
    EXPECT_EQ(list.indexFromNormalized(0.125), 1); // half a step rounds away from zero
    EXPECT_EQ(list.indexFromNormalized(0.124), 0);
    EXPECT_EQ(list.indexFromNormalized(2.0), 4);
    EXPECT_EQ(list.indexFromNormalized(-1.0), 0);
}

TEST(SoloGroups, CoverEverySpeakerAndNeedOthersBesides) {
    std::set<int32_t> covered;
    for (const auto& group : Mix::soloGroups()) covered.insert(group.speakers.begin(), group.speakers.end());
    EXPECT_EQ(covered.size(), 26u);
    EXPECT_EQ(Mix::findSoloGroup(275), Mix::findSoloGroup(270));
    EXPECT_EQ(Mix::findSoloGroup(276), nullptr);

    auto available = [](int32_t id, Plx::SpeakerArrangement arr) {
        return Mix::isSoloGroupAvailable(*Mix::findSoloGroup(id), arr);
    };
    EXPECT_FALSE(available(267, Plx::Layout::kStereo)); // L R with nothing else
    EXPECT_TRUE(available(267, Plx::Layout::kLRC));
    EXPECT_FALSE(
        available(267, Plx::Speaker::L | Plx::Speaker::C | Plx::Speaker::Ls | Plx::Speaker::Rs)); // R missing
    EXPECT_TRUE(available(269, Plx::Layout::k5_1));
    EXPECT_FALSE(available(269, Plx::Speaker::LFE));
    EXPECT_FALSE(available(268, Plx::Layout::kLRC));
    EXPECT_FALSE(available(266, Plx::Layout::kLRC)); // front only
    EXPECT_FALSE(available(270, Plx::Layout::k5_1));
    EXPECT_TRUE(available(278, Plx::Layout::kStereoSlSr)); // side speakers alone are enough
}

TEST(ControllerNames, RemoteNamesOfBothFamilies) {
    int32_t id = 0;
    EXPECT_TRUE(Mix::baseRemoteNameToId("PanLfeGain", id) && id == 11);
    EXPECT_FALSE(Mix::baseRemoteNameToId("solo:front", id));
    EXPECT_EQ(id, 1024);
    // Input and output families share the speaker names, offset by their first solo id.
    for (auto [name, expected] : {std::pair{"speaker:front:left", 59},
                                  {"out:speaker:front:left", 17},
                                  {"out:speaker:subbass", 41},
                                  {"out:solo:SlSr", 279},
                                  {"PanLfeGain", 11}}) {
        EXPECT_TRUE(Mix::mixerRemoteNameToId(name, id)) << name;
        EXPECT_EQ(id, expected) << name;
    }
    for (const char* unknown : {"speaker:", "speaker:nowhere", "out:speaker:", "", "Reset"}) {
        EXPECT_FALSE(Mix::mixerRemoteNameToId(unknown, id)) << unknown;
        EXPECT_EQ(id, 1024);
    }
    EXPECT_FALSE(Mix::mixerRemoteNameToId(nullptr, id));
}
