// Parameters: clamping, text, and the conversions between normalized and plain.
#include <gtest/gtest.h>

#include <string>

#include "frame/parameter.h"

using namespace Tannhofen::Plx;

namespace {

std::u16string text(const Parameter& p, ParamValue v) {
    char16 out[128];
    p.toString(v, out);
    return out;
}

template <class P>
struct Owned {
    P* p;
    explicit Owned(P* p) : p(p) {}
    ~Owned() { p->release(); }
    P* operator->() { return p; }
    P& operator*() { return *p; }
};

struct Counter : IDependent {
    tresult queryInterface(const TUID&, void**) override { return kNoInterface; }
    uint32 addRef() override { return 1; }
    uint32 release() override { return 1; }
    void update(FUnknown*, int32 message) override { count += message == kChanged; }
    int count = 0;
};

} // namespace

TEST(ParameterValue, ClampsAndTellsDependentsOnlyOfRealChanges) {
    Owned<Parameter> p(new Parameter(u"Reset", 256, nullptr, 0.0, 1));
    Counter counter;
    p->addDependent(&counter);
    EXPECT_TRUE(p->setNormalized(1.5));
    EXPECT_EQ(p->getNormalized(), 1.0);
    EXPECT_FALSE(p->setNormalized(1.0));
    EXPECT_FALSE(p->setNormalized(7.0));
    EXPECT_TRUE(p->setNormalized(-3.0));
    EXPECT_EQ(p->getNormalized(), 0.0);
    EXPECT_EQ(counter.count, 2);
    p->removeDependent(&counter);
}

TEST(ParameterText, OnOffAndPrecision) {
    Owned<Parameter> onOff(new Parameter(u"Low Pass Filter", 133, nullptr, 0.0, 1));
    EXPECT_EQ(text(*onOff, 0.5), u"Off"); // exactly half is still off
    EXPECT_EQ(text(*onOff, 0.5000001), u"On");

    Owned<Parameter> level(new Parameter(u"Center Level", 128));
    level->setPrecision(2);
    EXPECT_EQ(text(*level, 0.12567), u"0.13");
    level->setPrecision(0);
    EXPECT_EQ(text(*level, 0.75), u"1");

    ParamValue v = -1;
    EXPECT_TRUE(level->fromString(u"0.25", v));
    EXPECT_EQ(v, 0.25);
    EXPECT_TRUE(level->fromString(u" 1e-1 dB", v));
    EXPECT_DOUBLE_EQ(v, 0.1);
    EXPECT_FALSE(level->fromString(u"loud", v));
    EXPECT_FALSE(level->fromString(nullptr, v));
    EXPECT_EQ(level->toPlain(0.3), 0.3);
    EXPECT_EQ(level->toNormalized(0.3), 0.3);
}

TEST(ParameterRange, IntegerStepsSplitTheRangeEvenly) {
    // 0 to 3 in three steps: four equal parts of the normalized range.
    Owned<RangeParameter> parts(new RangeParameter(u"Parts", 137, nullptr, 0.0, 3.0, 2.0, 3));
    EXPECT_DOUBLE_EQ(parts->getNormalized(), 2.0 / 3.0);
    EXPECT_DOUBLE_EQ(parts->getInfo().defaultNormalizedValue, 2.0 / 3.0);
    for (auto [normalized, plain] :
         {std::pair{0.0, 0.0}, {0.2499, 0.0}, {0.25, 1.0}, {0.74, 2.0}, {1.0, 3.0}})
        EXPECT_EQ(parts->toPlain(normalized), plain) << normalized;
    for (int i = 0; i <= 3; ++i) EXPECT_EQ(parts->toPlain(parts->toNormalized(i)), i);
    EXPECT_EQ(text(*parts, 0.5), u"2");
    ParamValue v = 0;
    EXPECT_TRUE(parts->fromString(u"9", v)); // clamped into the range
    EXPECT_EQ(v, 1.0);

    Owned<RangeParameter> gain(new RangeParameter(u"Gain", 1, u"x", -1.0, 3.0, 1.0));
    EXPECT_EQ(gain->getNormalized(), 0.5);
    EXPECT_EQ(gain->toPlain(0.25), 0.0);
    EXPECT_EQ(gain->toNormalized(2.0), 0.75);
    gain->setPrecision(1);
    EXPECT_EQ(text(*gain, 1.0), u"3.0");
}

TEST(ParameterStringList, SplitAndItsDeliberatelyInexactInverse) {
    Owned<StringListParameter> list(new StringListParameter(u"Output Arrangement", 130));
    EXPECT_EQ(list->toPlain(0.7), 0.0); // no strings yet
    EXPECT_EQ(text(*list, 0.7), u"");
    list->appendString(u"Stereo");
    EXPECT_EQ(list->getInfo().stepCount, 0);
    EXPECT_EQ(list->toPlain(0.9), 0.0);
    EXPECT_EQ(list->toNormalized(0.0), 0.0);
    EXPECT_EQ(text(*list, 0.9), u"Stereo");
    list->appendString(u"5.1");
    list->appendString(u"7.1");
    EXPECT_EQ(list->getInfo().stepCount, 2);
    EXPECT_NE(list->getInfo().flags & ParameterInfo::kIsList, 0);

    // Three equal parts: [0, 1/3) -> 0, [1/3, 2/3) -> 1, [2/3, 1] -> 2.
    for (auto [normalized, plain] : {std::pair{0.33, 0.0}, {0.34, 1.0}, {0.66, 1.0}, {0.67, 2.0}, {1.0, 2.0}})
        EXPECT_EQ(list->toPlain(normalized), plain) << normalized;
    // Index to value and back lands on the same index ...
    for (int i = 0; i < 3; ++i) EXPECT_EQ(list->toPlain(list->toNormalized(i)), i);
    // ... but value to index and back does not give the value: 0.34 -> 1 -> 0.5.
    EXPECT_EQ(list->toNormalized(1.0), 0.5);
    EXPECT_NE(list->toNormalized(list->toPlain(0.34)), 0.34);

    EXPECT_EQ(text(*list, 0.5), u"5.1");
    EXPECT_EQ(text(*list, 1.0), u"7.1");
    EXPECT_EQ(text(*list, -0.5), u""); // outside the list
    ParamValue v = -1;
    EXPECT_TRUE(list->fromString(u"5.1", v));
    EXPECT_EQ(v, 0.5);
    for (const char16* bad : {u"5.0", u"5.1 ", static_cast<const char16*>(nullptr)})
        EXPECT_FALSE(list->fromString(bad, v));
    EXPECT_TRUE(list->replaceString(2, u"7.1.4"));
    EXPECT_FALSE(list->replaceString(3, u"x"));
    EXPECT_EQ(text(*list, 1.0), u"7.1.4");
}

TEST(ParameterContainerIds, FindsByIdAndRefusesDuplicates) {
    ParameterContainer container;
    EXPECT_NE(container.addParameter(u"A", nullptr, 0, 0.5, 0, 10), nullptr);
    EXPECT_NE(container.addParameter(new RangeParameter(u"B", 20)), nullptr);
    EXPECT_EQ(container.addParameter(u"A again", nullptr, 0, 0.0, 0, 10), nullptr);
    EXPECT_EQ(container.addParameter(nullptr), nullptr);
    EXPECT_EQ(container.getParameterCount(), 2);
    EXPECT_EQ(container.getParameter(20), container.getParameterByIndex(1));
    EXPECT_EQ(std::u16string(container.getParameter(10)->getInfo().title), u"A");
    EXPECT_EQ(container.getParameter(30), nullptr);
    EXPECT_EQ(container.getParameterByIndex(2), nullptr);
    EXPECT_EQ(container.getParameterByIndex(-1), nullptr);
    container.removeAll();
    EXPECT_EQ(container.getParameter(10), nullptr);
}
