// The converter controller's fixed tables: the output format list, the solo
// groups and the names for remote surfaces and editors.
#include <gtest/gtest.h>

#include <cstring>
#include <set>
#include <string>

#include "mix/arrangement_list.h"
#include "mix/controller_tables.h"

using namespace Tannhofen;
using Mix::ArrangementList;

namespace {

// Every entry has a name, none repeats, and channel counts never fall.
void expectWellFormed(const ArrangementList& list)
{
    std::set<Plx::SpeakerArrangement> seen;
    for (int32_t i = 0; i < list.count(); ++i) {
        const auto mask = list.at(i);
        EXPECT_STRNE(Plx::speakerArrangementName(mask, false), "") << std::hex << mask;
        EXPECT_TRUE(seen.insert(mask).second) << "duplicate " << std::hex << mask;
        if (i > 0) {
            EXPECT_LE(Plx::getChannelCount(list.at(i - 1)), Plx::getChannelCount(mask));
        }
    }
}

} // namespace

TEST(ArrangementList, FivePointOneGivesItsSmallerFormatsInChannelOrder)
{
    ArrangementList list;
    list.addArrangements(0x3F);
    const std::vector<Plx::SpeakerArrangement> expected{0x7, 0xF, 0x37, 0x3F};
    EXPECT_EQ(list.all(), expected);

    // Adding again changes nothing; masks of fewer than two channels are ignored.
    list.addArrangements(0x3F);
    list.addArrangements(0x80000);
    list.addArrangements(0);
    EXPECT_EQ(list.all(), expected);

    // A stereo mask goes in front of the rest and derives nothing.
    list.addArrangements(0x3);
    EXPECT_EQ(list.at(0), 0x3u);
    EXPECT_EQ(list.count(), 5);
}

TEST(ArrangementList, LargeFormatsDeriveOnlyNamedSubsets)
{
    for (Plx::SpeakerArrangement mask : {0x2D63Full, 0x7307FFFFull, 0x302D6FFull, 0x285002D633ull, 0x6F0FFull}) {
        ArrangementList list;
        list.addArrangements(mask);
        expectWellFormed(list);
        for (auto entry : list.all())
            EXPECT_EQ(entry & ~mask, 0u) << "derived formats only leave speakers out";
    }
    ArrangementList list;
    list.addArrangements(0x2D63F);
    // 7.1.4 without its LFE, and without its side pair once it has tops.
    EXPECT_GE(list.indexOf(0x2D637), 0);
    EXPECT_GE(list.indexOf(0x2D03F), 0);
    EXPECT_EQ(list.at(list.count() - 1), 0x2D63Fu);

    // 22.2 drops the bottom row and LFE2 first.
    ArrangementList big;
    big.addArrangements(0x7307FFFF);
    EXPECT_EQ(big.at(big.count() - 1), 0x7307FFFFu);
    EXPECT_GT(big.count(), 1);
}

TEST(ArrangementList, NormalizedValueAndIndex)
{
    ArrangementList list;
    EXPECT_EQ(list.indexFromNormalized(0.5), -1);
    list.addArrangements(0x3);
    EXPECT_DOUBLE_EQ(list.normalizedOf(0), 0.0); // one entry
    EXPECT_EQ(list.indexFromNormalized(1.0), 0);
    list.addArrangements(0x3F); // 0x3, 0x7, 0xF, 0x37, 0x3F
    ASSERT_EQ(list.count(), 5);
    for (int32_t i = 0; i < list.count(); ++i)
        EXPECT_EQ(list.indexFromNormalized(list.normalizedOf(i)), i);
    EXPECT_EQ(list.indexFromNormalized(0.125), 1); // 0.5 rounds away from zero
    EXPECT_EQ(list.indexFromNormalized(0.124), 0);
    EXPECT_EQ(list.indexFromNormalized(2.0), 4);
    EXPECT_EQ(list.indexFromNormalized(-1.0), 0);
}

TEST(SoloGroups, SpeakersAndAvailability)
{
    ASSERT_EQ(Mix::soloGroups().size(), 6u);
    const Mix::SoloGroup* top = Mix::findSoloGroup(275);
    ASSERT_NE(top, nullptr);
    EXPECT_EQ(top, Mix::findSoloGroup(270));
    EXPECT_EQ(Mix::findSoloGroup(276), nullptr);
    EXPECT_TRUE(Mix::isInputGroupId(278));
    EXPECT_FALSE(Mix::isInputGroupId(279));
    // Every speaker index lies in at least one group; LFE and LFE2 only in theirs.
    std::set<int32_t> covered;
    for (const auto& group : Mix::soloGroups())
        covered.insert(group.speakers.begin(), group.speakers.end());
    EXPECT_EQ(covered.size(), 26u);

    auto available = [](int32_t id, Plx::SpeakerArrangement arr) {
        return Mix::isSoloGroupAvailable(*Mix::findSoloGroup(id), arr);
    };
    EXPECT_FALSE(available(267, 0x3)); // stereo alone: nothing besides L and R
    EXPECT_TRUE(available(267, 0x7));
    EXPECT_FALSE(available(267, 0x37 & ~0x2ull)); // R missing
    EXPECT_TRUE(available(269, 0x3F));
    EXPECT_FALSE(available(269, 0x8));
    EXPECT_FALSE(available(268, 0x7));
    EXPECT_TRUE(available(268, 0x37));
    EXPECT_FALSE(available(266, 0x7)); // front only
    EXPECT_FALSE(available(270, 0x3F));
    EXPECT_TRUE(available(270, 0x2D63F));
    EXPECT_TRUE(available(278, 0x600)); // sides alone are enough
}

TEST(ControllerNames, RemoteAndEditorNames)
{
    int32_t id = 0;
    EXPECT_TRUE(Mix::baseRemoteNameToId("PanLfeGain", id));
    EXPECT_EQ(id, 11);
    EXPECT_FALSE(Mix::baseRemoteNameToId("solo:front", id));
    EXPECT_EQ(id, 1024);
    EXPECT_FALSE(Mix::baseRemoteNameToId(nullptr, id));

    const std::pair<const char*, int32_t> known[] = {
        {"speaker:front:left", 59},        {"speaker:subbass", 83},         {"speaker:bottom:front:right", 82},
        {"out:speaker:front:left", 17},    {"out:speaker:subbass", 41},     {"out:speaker:bottom:front:right", 40},
        {"solo:cancel", 276},              {"out:solo:SlSr", 279},          {"solo-to-center", 131},
        {"rear-to-front", 132},            {"lfeLevel", 11},                {"PanLfeGain", 11},
        {"outputArrangement", 130},        {"reset", 256},
    };
    for (const auto& [name, expected] : known) {
        EXPECT_TRUE(Mix::mixerRemoteNameToId(name, id)) << name;
        EXPECT_EQ(id, expected) << name;
    }
    for (const char* unknown : {"speaker:", "speaker:nowhere", "out:speaker:", "out:solo:", "", "Reset"}) {
        EXPECT_FALSE(Mix::mixerRemoteNameToId(unknown, id)) << unknown;
        EXPECT_EQ(id, 1024);
    }

    EXPECT_STREQ(Mix::mixerEditorName("editor", true), "MixMorphNivora");
    EXPECT_STREQ(Mix::mixerEditorName("editor", false), "MixMorphKestra");
    EXPECT_STREQ(Mix::mixerEditorName("embeddedEditor", true), "AudioPlugEmbeddedMixMorphNivora");
    EXPECT_STREQ(Mix::mixerEditorName("embeddedEditor", false), "AudioPlugEmbeddedMixMorphKestra");
    EXPECT_EQ(Mix::mixerEditorName("other", false), nullptr);
    EXPECT_EQ(Mix::mixerEditorName(nullptr, false), nullptr);

    EXPECT_STREQ(Mix::editorParamName(301), "hasInLR");
    EXPECT_STREQ(Mix::editorParamName(317), "hasInBFC");
    EXPECT_STREQ(Mix::editorParamName(318), "hasOutLR");
    EXPECT_STREQ(Mix::editorParamName(334), "hasOutBFC");
    EXPECT_STREQ(Mix::editorParamName(335), "pushInSpkL");
    EXPECT_STREQ(Mix::editorParamName(360), "pushInSpkLfe2");
    EXPECT_STREQ(Mix::editorParamName(361), "pushOutSpkL");
    EXPECT_STREQ(Mix::editorParamName(386), "pushOutSpkLfe2");
    EXPECT_STREQ(Mix::editorParamName(398), "lfeVolActiveGUI");
    EXPECT_EQ(Mix::editorParamName(389), nullptr);
}
