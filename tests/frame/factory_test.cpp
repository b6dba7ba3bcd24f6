// The factory's registration, creation and the copy-protection gate, in process.
#include <gtest/gtest.h>

#include <cstring>

#include "frame/audioeffect.h"
#include "frame/copy_protection.h"
#include "frame/factory.h"
#include "frame/text.h"

using namespace Tannhofen::Plx;

namespace {

int liveEffects = 0;

class CountedEffect : public AudioEffect {
public:
    CountedEffect() { ++liveEffects; }
    ~CountedEffect() override { --liveEffects; }
};

FUnknown* noInstance(void*) {
    return nullptr;
}

const FUID kEffectUID{0x11111111, 0x22222222, 0x33333333, 0x44444444};
const FUID kEmptyUID{0x55555555, 0x66666666, 0x77777777, 0x88888888};

const ClassTableRow kRows[] = {
    {kEffectUID, ClassInfo2::kDistributable, "Audio Module Class", "Counted", "Fx",
     createInstanceAs<CountedEffect, IAudioProcessor>},
    {kEmptyUID, 0, "Component Controller Class", "Empty", "", noInstance},
};

struct GateReset {
    ~GateReset() { overrideCopyProtectionForTesting(-1); }
};

} // namespace

TEST(FactoryGate, AFailedCheckGivesNoFactoryAtAll) {
    GateReset reset;
    overrideCopyProtectionForTesting(0);
    EXPECT_FALSE(copyProtectionPasses());
    EXPECT_EQ(getPluginFactory(kRows), nullptr);
    // And nothing was left behind: the next passing call builds a full factory.
    overrideCopyProtectionForTesting(-1);
    EXPECT_TRUE(copyProtectionPasses());
    IPlxFactory* factory = getPluginFactory(kRows);
    ASSERT_NE(factory, nullptr);
    EXPECT_EQ(factory->countClasses(), 2);
    EXPECT_EQ(factory->release(), 0u);
}

TEST(FactoryCreate, TheHostsReferenceIsTheOnlyOneOrTheObjectDies) {
    IPlxFactory* factory = getPluginFactory(kRows);
    ASSERT_NE(factory, nullptr);

    void* obj = nullptr;
    ASSERT_EQ(factory->createInstance(kEffectUID.toTUID(), IComponent::iid, &obj), kResultOk);
    EXPECT_EQ(liveEffects, 1);
    auto* component = static_cast<IComponent*>(obj);
    EXPECT_EQ(component->addRef(), 2u);
    component->release();
    EXPECT_EQ(component->release(), 0u);
    EXPECT_EQ(liveEffects, 0);

    // A known class asked for an interface it lacks: built, then destroyed.
    obj = &obj;
    EXPECT_EQ(factory->createInstance(kEffectUID.toTUID(), makeTUID(9, 9, 9, 9), &obj), kNoInterface);
    EXPECT_EQ(obj, nullptr);
    EXPECT_EQ(liveEffects, 0);

    // A class whose create function gives nothing.
    obj = &obj;
    EXPECT_EQ(factory->createInstance(kEmptyUID.toTUID(), FUnknown::iid, &obj), kNoInterface);
    EXPECT_EQ(obj, nullptr);
    factory->release();
}

TEST(FactoryRegister, SixteenBitEntriesAndGrowth) {
    auto* factory = static_cast<PlxFactory*>(getPluginFactory({}));
    ASSERT_NE(factory, nullptr);
    ClassInfo2 info2{};
    EXPECT_FALSE(factory->registerClass(nullptr, noInstance, nullptr));
    EXPECT_FALSE(factory->registerClass(&info2, nullptr, nullptr));

    ClassInfoW wide;
    std::memset(&wide, 0, sizeof wide);
    wide.cid = kEmptyUID.toTUID();
    wide.cardinality = 1;
    copyBounded(wide.category, sizeof wide.category, "Audio Module Class");
    copyBounded16(wide.name, 64, u"Wide \u00C4");
    wide.classFlags = 1;
    ASSERT_TRUE(factory->registerClassW(&wide, noInstance, nullptr));

    // A 16-bit entry answers false and a zeroed record in 8-bit form ...
    ClassInfo2 out2;
    std::memset(&out2, 0xAB, sizeof out2);
    EXPECT_EQ(factory->getClassInfo2(0, &out2), kResultFalse);
    const ClassInfo2 zero{};
    EXPECT_EQ(std::memcmp(&out2, &zero, sizeof zero), 0);
    // ... and itself in 16-bit form.
    ClassInfoW outW{};
    ASSERT_EQ(factory->getClassInfoUnicode(0, &outW), kResultOk);
    EXPECT_EQ(std::memcmp(&outW, &wide, sizeof wide), 0);

    // Many more entries than the first block of ten.
    for (int i = 0; i < 25; ++i) {
        ClassInfo2 row{};
        row.cid = makeTUID(0, 0, 0, static_cast<uint32>(i + 1));
        copyBounded(row.name, sizeof row.name, ("Class " + std::to_string(i)).c_str());
        ASSERT_TRUE(factory->registerClass(&row, noInstance, nullptr));
    }
    EXPECT_EQ(factory->countClasses(), 26);
    ASSERT_EQ(factory->getClassInfoUnicode(25, &outW), kResultOk);
    EXPECT_EQ(std::u16string(outW.name), u"Class 24");
    EXPECT_EQ(factory->release(), 0u);
}

TEST(FactoryRecords, FieldsLieAtTheirOffsets) {
    const size_t offsets[] = {
        offsetof(ClassInfo, cardinality), offsetof(ClassInfo, category),       offsetof(ClassInfo, name),
        offsetof(ClassInfo2, classFlags), offsetof(ClassInfo2, subCategories), offsetof(ClassInfo2, vendor),
        offsetof(ClassInfo2, version),    offsetof(ClassInfo2, sdkVersion),    offsetof(ClassInfoW, name),
        offsetof(ClassInfoW, classFlags), offsetof(ClassInfoW, subCategories), offsetof(ClassInfoW, vendor),
        offsetof(ClassInfoW, version),    offsetof(ClassInfoW, sdkVersion),    offsetof(FactoryInfo, url),
        offsetof(FactoryInfo, email),     offsetof(FactoryInfo, flags)};
    const size_t expected[] = {16,  20,  52,  116, 120, 248, 312, 376, 52,
                               180, 184, 312, 440, 568, 64,  320, 448};
    for (size_t i = 0; i < std::size(expected); ++i) EXPECT_EQ(offsets[i], expected[i]) << i;
}

TEST(FactoryModule, LoadCountAnswersFalseOnlyBelowZero) {
    int marker = 0;
    EXPECT_TRUE(initModule(&marker));
    EXPECT_TRUE(initModule(nullptr)); // a second load keeps the first handle
    EXPECT_EQ(getModuleHandle(), &marker);
    EXPECT_TRUE(exitModule());
    EXPECT_TRUE(exitModule());
    EXPECT_FALSE(exitModule());
    EXPECT_TRUE(initModule(nullptr));
}
