// IDs, reference counting, class names and dependents of FObject.
#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "frame/fobject.h"
#include "frame/iaudioprocessor.h"
#include "frame/icomponent.h"
#include "frame/iconnectionpoint.h"
#include "frame/igraphlocation.h"
#include "frame/iidlehandler.h"
#include "frame/param_info.h"

using namespace Tannhofen::Plx;

namespace {

std::string hex(const TUID& id) {
    static const char digits[] = "0123456789ABCDEF";
    std::string s;
    for (uint8_t b : id) {
        s += digits[b >> 4];
        s += digits[b & 15];
    }
    return s;
}

struct Animal : FObject {
    PLX_OBJ_METHODS(Animal, FObject, "Test::Animal")
};

struct Dog : Animal {
    PLX_OBJ_METHODS(Dog, Animal, "Test::Dog")
    explicit Dog(int32* seenCount = nullptr) : seen(seenCount) {}
    ~Dog() override {
        if (seen) {
            *seen = getRefCount();
            // A stray release from inside the destructor must not free it again.
            release();
        }
    }
    int32* seen;
};

struct Listener : IDependent {
    tresult queryInterface(const TUID&, void**) override { return kNoInterface; }
    uint32 addRef() override { return 1; }
    uint32 release() override { return 1; }
    void update(FUnknown* changedUnknown, int32 message) override {
        last = changedUnknown;
        messages.push_back(message);
        if (leaveFrom) leaveFrom->removeDependent(this);
    }
    FUnknown* last = nullptr;
    std::vector<int32> messages;
    FObject* leaveFrom = nullptr;
};

} // namespace

TEST(FUnknownIds, FourWordsLieInMemoryInTheClassIdLayout) {
    // Four words as the bytes a host compares: every byte position lands in exactly one place.
    EXPECT_EQ(hex(makeTUID(0x03020100, 0x07060504, 0x08090A0B, 0x0C0D0E0F)),
              "000102030607040508090A0B0C0D0E0F");

    // Interface IDs, as the bytes a host compares.
    EXPECT_EQ(hex(IPluginBase::iid), "DB8D88226E15AE458358B34808190625");
    EXPECT_EQ(hex(IConnectionPoint::iid), "6F15A4706E6E2640989148BFAA60D8D1");
    EXPECT_EQ(hex(IComponent::iid), "31FF31E8D5F20143928EBBEE25697802");
    EXPECT_EQ(hex(IAudioProcessor::iid), "993F0442DAB73C45A569E79D9AAEC33D");
    EXPECT_EQ(hex(IProcessContextRequirements::iid), "0343652A76EF3D4E95B5FE83730EF6D0");
    EXPECT_EQ(hex(IGraphLocation::iid), "F60A1A1809A1BA478A6F7C7C3FF37129");
    EXPECT_EQ(hex(IIdleHandler::iid), "58BB0BD705C8B845AB8264180B673A84");

    EXPECT_FALSE(FUID().isValid());
    EXPECT_TRUE(FUID(0, 0, 0, 1).isValid());
    EXPECT_EQ(FUID(1, 2, 3, 4), FUID(makeTUID(1, 2, 3, 4)));

    EXPECT_EQ(kResultOk, 0);
    EXPECT_EQ(kResultFalse, 1);
    EXPECT_EQ(static_cast<uint32_t>(kInvalidArgument), 0x80070057u);
    EXPECT_EQ(static_cast<uint32_t>(kNotImplemented), 0x80004001u);
    EXPECT_EQ(static_cast<uint32_t>(kNoInterface), 0x80004002u);
}

TEST(FObjectLife, CountsReferencesAndDiesOnceWithTheSentinel) {
    int32 seen = 0;
    auto* dog = new Dog(&seen);
    EXPECT_EQ(dog->getRefCount(), 1);
    EXPECT_EQ(dog->addRef(), 2u);

    void* obj = nullptr;
    ASSERT_EQ(dog->queryInterface(FUnknown::iid, &obj), kResultOk);
    EXPECT_EQ(dog->getRefCount(), 3);
    EXPECT_EQ(static_cast<FUnknown*>(obj)->release(), 2u);
    ASSERT_EQ(dog->queryInterface(FObject::iid, &obj), kResultOk);
    EXPECT_EQ(obj, static_cast<FObject*>(dog));
    dog->release();

    obj = &seen;
    EXPECT_EQ(dog->queryInterface(makeTUID(1, 2, 3, 4), &obj), kNoInterface);
    EXPECT_EQ(obj, nullptr);
    EXPECT_EQ(dog->queryInterface(FUnknown::iid, nullptr), kInvalidArgument);

    EXPECT_EQ(dog->release(), 1u);
    EXPECT_EQ(dog->release(), 0u);
    // The destructor saw the sentinel; its own release left the count at -1001
    // without a second delete (ASan would report one).
    EXPECT_EQ(seen, FObject::kDestroyingCount);
}

TEST(FObjectNames, IsTypeOfWalksUpTheChainOnlyWhenAsked) {
    Dog* dog = new Dog;
    EXPECT_STREQ(dog->getClassName(), "Test::Dog");
    EXPECT_FALSE(dog->isTypeOf("Test::Animal", false));
    EXPECT_TRUE(dog->isTypeOf("Test::Animal", true));
    EXPECT_TRUE(dog->isTypeOf("FObject", true));
    EXPECT_FALSE(dog->isTypeOf("Test::Cat", true));
    EXPECT_FALSE(dog->isTypeOf(nullptr, true));
    EXPECT_FALSE(dog->isA("FObject"));

    FObject* asObject = dog;
    EXPECT_EQ(FCast<Animal>(asObject), dog);
    FObject* animal = new Animal;
    EXPECT_EQ(FCast<Dog>(animal), nullptr);
    EXPECT_EQ(FCast<Dog>(static_cast<FObject*>(nullptr)), nullptr);
    animal->release();
    dog->release();
}

TEST(FObjectDependents, ChangesReachEachDependentOnceUntilRemoved) {
    auto* subject = new Animal;
    Listener a, b;
    subject->addDependent(&a);
    subject->addDependent(&a);
    subject->addDependent(&b);
    EXPECT_EQ(subject->countDependents(), 2);

    subject->changed();
    EXPECT_EQ(a.messages, std::vector<int32>{IDependent::kChanged});
    EXPECT_EQ(a.last, static_cast<FUnknown*>(static_cast<IDependent*>(subject)));

    // A dependent that leaves while it is told: the others are still told.
    a.leaveFrom = subject;
    subject->deferUpdate(IDependent::kWillChange);
    EXPECT_EQ(a.messages.size(), 2u);
    EXPECT_EQ(b.messages, (std::vector<int32>{IDependent::kChanged, IDependent::kWillChange}));
    EXPECT_EQ(subject->countDependents(), 1);

    subject->removeDependent(&b);
    subject->changed();
    EXPECT_EQ(b.messages.size(), 2u);
    subject->release();
}

TEST(ParamInfoRecordLayout, FieldsLieAtTheirOffsets) {
    // 4 + 3 * 128 = 388, padded to 392 for the doubles.
    using R = ParamInfoRecord;
    const size_t offsets[] = {offsetof(R, name),    offsetof(R, title),  offsetof(R, units),
                              offsetof(R, min),     offsetof(R, step),   offsetof(R, type),
                              offsetof(R, flags),   offsetof(R, format), offsetof(R, precision),
                              offsetof(R, reserved)};
    const size_t expected[] = {4, 132, 260, 392, 416, 424, 428, 432, 444, 452};
    for (size_t i = 0; i < std::size(expected); ++i) EXPECT_EQ(offsets[i], expected[i]) << i;
}
