// The module's factory as a host sees it through the three exports.
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "frame/iaudioprocessor.h"
#include "frame/icomponent.h"
#include "host/lib/module.h"

using namespace Tannhofen;
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

// Every byte of a text field behind its text is zero.
template <size_t N, class C>
bool zeroFilled(const C (&field)[N]) {
    size_t i = 0;
    while (i < N && field[i]) ++i;
    for (; i < N; ++i)
        if (field[i]) return false;
    return true;
}

struct Expected {
    const char* cid;
    const char* category;
    const char* name;
    uint32_t flags;
    const char* subCategories;
};

// Worked out from the four-word IDs by hand, in the order hosts list them.
const Expected kClasses[6] = {
    {"8611CAA3A2A3FE41A552717108932238", "Audio Module Class", "PLX RadialPanner", 1, "Spatial|Fx"},
    {"1B817E434163D14A9F5965078277AD88", "Component Controller Class", "PLX RadialPanner Controller", 0, ""},
    {"A8B5184A6B8AD444B78F6E2FCC4746A2", "Audio Module Class", "MixMorph V6", 1, "Spatial|Fx|Up-Downmix"},
    {"75011D8DFF7D434CB95A1BE6DA9736F3", "Component Controller Class", "MixMorph V6 Controller", 0, ""},
    {"69B6DB0CD585A948BFD8371909D24BB4", "Audio Module Class", "PLX SphereDecoder", 1,
     "Spatial|Fx|Ambisonics|Up-Downmix"},
    {"A97F8E039A62AA4E8541B88918E8952D", "Component Controller Class", "PLX SphereDecoder Controller", 0, ""},
};

std::unique_ptr<Host::Module> loadModule() {
    std::string error;
    auto module = Host::Module::load(PLX_MODULE_PATH, &error);
    EXPECT_TRUE(module) << error;
    return module;
}

} // namespace

TEST(ModuleFactory, ListsTheSixClassesWithTheirRecords) {
    auto module = loadModule();
    ASSERT_TRUE(module && module->factory());
    IPlxFactory* factory = module->factory();

    FactoryInfo info;
    std::memset(&info, 0xAB, sizeof info);
    ASSERT_EQ(factory->getFactoryInfo(&info), kResultOk);
    EXPECT_STREQ(info.vendor, "Tannhofen Media Technologies");
    EXPECT_TRUE(zeroFilled(info.vendor));
    EXPECT_EQ(info.flags, 0x10);
    EXPECT_EQ(factory->getFactoryInfo(nullptr), kResultOk);

    IPtr<IPlxFactory3> factory3 = IPtr<IPlxFactory3>::adopt(queryInterfaceOf<IPlxFactory3>(factory));
    ASSERT_TRUE(factory3);
    ASSERT_EQ(factory3->countClasses(), 6);
    for (int32 i = 0; i < 6; ++i) {
        SCOPED_TRACE(i);
        ClassInfo2 info2;
        std::memset(&info2, 0xAB, sizeof info2);
        ASSERT_EQ(factory3->getClassInfo2(i, &info2), kResultOk);
        EXPECT_EQ(hex(info2.cid), kClasses[i].cid);
        EXPECT_EQ(info2.cardinality, 0x7FFFFFFF);
        EXPECT_STREQ(info2.category, kClasses[i].category);
        EXPECT_STREQ(info2.name, kClasses[i].name);
        EXPECT_EQ(info2.classFlags, kClasses[i].flags);
        EXPECT_STREQ(info2.subCategories, kClasses[i].subCategories);
        EXPECT_STREQ(info2.vendor, "");
        EXPECT_STREQ(info2.version, "10.0.10.23");
        EXPECT_STREQ(info2.sdkVersion, "PLX 3.7.0");
        EXPECT_TRUE(zeroFilled(info2.category) && zeroFilled(info2.name) && zeroFilled(info2.subCategories) &&
                    zeroFilled(info2.vendor) && zeroFilled(info2.version) && zeroFilled(info2.sdkVersion));

        // The short record is the first 116 bytes of the long one.
        ClassInfo info1;
        ASSERT_EQ(factory3->getClassInfo(i, &info1), kResultOk);
        EXPECT_EQ(std::memcmp(&info1, &info2, sizeof info1), 0);

        ClassInfoW infoW;
        std::memset(&infoW, 0xAB, sizeof infoW);
        ASSERT_EQ(factory3->getClassInfoUnicode(i, &infoW), kResultOk);
        EXPECT_EQ(hex(infoW.cid), kClasses[i].cid);
        EXPECT_EQ(infoW.cardinality, 0x7FFFFFFF);
        EXPECT_STREQ(infoW.category, kClasses[i].category);
        const std::string name(kClasses[i].name);
        EXPECT_EQ(std::u16string(infoW.name), std::u16string(name.begin(), name.end()));
        EXPECT_EQ(infoW.classFlags, kClasses[i].flags);
        EXPECT_STREQ(infoW.subCategories, kClasses[i].subCategories);
        EXPECT_EQ(std::u16string(infoW.version), u"10.0.10.23");
        EXPECT_EQ(std::u16string(infoW.sdkVersion), u"PLX 3.7.0");
        EXPECT_TRUE(zeroFilled(infoW.name) && zeroFilled(infoW.vendor) && zeroFilled(infoW.sdkVersion));
    }

    ClassInfo2 info2{};
    EXPECT_EQ(factory3->getClassInfo2(6, &info2), kInvalidArgument);
    EXPECT_EQ(factory3->getClassInfo2(-1, &info2), kInvalidArgument);
    ClassInfo info1{};
    EXPECT_EQ(factory3->getClassInfo(6, &info1), kInvalidArgument);
    EXPECT_EQ(factory3->getClassInfo(-1, &info1), kInvalidArgument);
    EXPECT_EQ(factory3->getClassInfo(0, nullptr), kInvalidArgument);
    EXPECT_EQ(factory3->getClassInfoUnicode(0, nullptr), kInvalidArgument);
    EXPECT_EQ(factory3->setHostContext(nullptr), kNotImplemented);
}

TEST(ModuleFactory, IsOneObjectUntilItsLastReleaseThenANewOne) {
    auto module = loadModule();
    ASSERT_TRUE(module && module->factory());
    IPlxFactory* first = module->factory();

    IPlxFactory* again = module->getPluginFactory();
    EXPECT_EQ(again, first);
    EXPECT_EQ(again->countClasses(), 6); // a second call registers nothing more
    // load()'s reference, this one, and the one addRef adds.
    EXPECT_EQ(again->addRef(), 3u);
    EXPECT_EQ(again->release(), 2u);

    module->releaseFactory();
    EXPECT_EQ(again->release(), 0u);

    IPlxFactory* fresh = module->getPluginFactory();
    ASSERT_NE(fresh, nullptr);
    EXPECT_EQ(fresh->countClasses(), 6);
    EXPECT_EQ(fresh->addRef(), 2u);
    fresh->release();
    EXPECT_EQ(fresh->release(), 0u);
}

TEST(ModuleFactory, UnknownIdsAnswerNoInterfaceAndNull) {
    auto module = loadModule();
    ASSERT_TRUE(module && module->factory());
    IPlxFactory* factory = module->factory();

    int dummy = 0;
    void* obj = &dummy;
    EXPECT_EQ(factory->createInstance(makeTUID(1, 2, 3, 4), IComponent::iid, &obj), kNoInterface);
    EXPECT_EQ(obj, nullptr);
    EXPECT_EQ(factory->createInstance(makeTUID(1, 2, 3, 4), IComponent::iid, nullptr), kInvalidArgument);

    obj = &dummy;
    EXPECT_EQ(factory->queryInterface(IAudioProcessor::iid, &obj), kNoInterface);
    EXPECT_EQ(obj, nullptr);
    EXPECT_EQ(factory->queryInterface(IPlxFactory2::iid, nullptr), kInvalidArgument);

    for (const TUID& iid : {FUnknown::iid, IPlxFactory::iid, IPlxFactory2::iid, IPlxFactory3::iid}) {
        ASSERT_EQ(factory->queryInterface(iid, &obj), kResultOk);
        EXPECT_EQ(static_cast<FUnknown*>(obj), static_cast<FUnknown*>(factory));
        factory->release();
    }
}

TEST(ModuleEntry, ASurplusExitDllAnswersFalse) {
    auto module = loadModule(); // load() called InitDll once
    ASSERT_TRUE(module);
    EXPECT_TRUE(module->initDll());
    EXPECT_TRUE(module->exitDll());  // 2 -> 1
    EXPECT_TRUE(module->exitDll());  // 1 -> 0
    EXPECT_FALSE(module->exitDll()); // 0 -> -1
    // Back to one load, which the module's destructor gives back.
    EXPECT_TRUE(module->initDll());
    EXPECT_TRUE(module->initDll());
}

TEST(ModuleLoad, ReportsAFileThatIsNoModule) {
    std::string error;
    EXPECT_FALSE(Host::Module::load(PLX_BINARY_DIR "/no-such-module.plx", &error));
    EXPECT_FALSE(error.empty());
}
