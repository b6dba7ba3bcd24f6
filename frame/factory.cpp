#include "frame/factory.h"

#include <cstdlib>
#include <cstring>

#include "frame/copy_protection.h"
#include "frame/text.h"

namespace Tannhofen::Plx {

namespace {

// The one factory of the module, cleared by its destructor.
PlxFactory* gFactory = nullptr;

std::atomic<int32> gLoadCount{0};
void* gModuleHandle = nullptr;

constexpr int32 kGrowBy = 10;
constexpr const char* kVendor = "Tannhofen Media Technologies";
constexpr const char* kVendorUrl = "https://www.tannhofen.de";
constexpr const char* kVendorEmail = "plugins@tannhofen.de";
constexpr const char* kClassVersion = "10.0.10.23";
constexpr const char* kSdkVersion = "PLX 3.7.0";

FactoryInfo makeFactoryInfo()
{
    FactoryInfo info;
    copyBounded(info.vendor, sizeof info.vendor, kVendor);
    copyBounded(info.url, sizeof info.url, kVendorUrl);
    copyBounded(info.email, sizeof info.email, kVendorEmail);
    info.flags = FactoryInfo::kUnicode;
    return info;
}

ClassInfo2 makeClassInfo2(const ClassTableRow& row)
{
    ClassInfo2 info;
    std::memset(&info, 0, sizeof info);
    info.cid = row.cid.toTUID();
    info.cardinality = ClassInfo::kManyInstances;
    copyBounded(info.category, sizeof info.category, row.category);
    copyBounded(info.name, sizeof info.name, row.name);
    info.classFlags = row.classFlags;
    copyBounded(info.subCategories, sizeof info.subCategories, row.subCategories);
    copyBounded(info.vendor, sizeof info.vendor, "");
    copyBounded(info.version, sizeof info.version, kClassVersion);
    copyBounded(info.sdkVersion, sizeof info.sdkVersion, kSdkVersion);
    return info;
}

} // namespace

PlxFactory::PlxFactory(const FactoryInfo& info) : factoryInfo(info) {}

PlxFactory::~PlxFactory()
{
    if (gFactory == this)
        gFactory = nullptr;
    std::free(classes);
}

tresult PlxFactory::queryInterface(const TUID& iid, void** obj)
{
    if (!obj)
        return kInvalidArgument;
    if (equalTUID(iid, FUnknown::iid) || equalTUID(iid, IPlxFactory::iid) || equalTUID(iid, IPlxFactory2::iid) ||
        equalTUID(iid, IPlxFactory3::iid)) {
        addRef();
        *obj = static_cast<IPlxFactory3*>(this);
        return kResultOk;
    }
    *obj = nullptr;
    return kNoInterface;
}

uint32 PlxFactory::addRef() { return static_cast<uint32>(++refCount); }

uint32 PlxFactory::release()
{
    const int32 left = --refCount;
    if (left == 0) {
        refCount = -1000;
        delete this;
        return 0;
    }
    return static_cast<uint32>(left);
}

tresult PlxFactory::getFactoryInfo(FactoryInfo* info)
{
    if (info)
        *info = factoryInfo;
    return kResultOk;
}

const PlxFactory::ClassEntry* PlxFactory::entry(int32 index) const
{
    return index >= 0 && index < count ? &classes[index] : nullptr;
}

tresult PlxFactory::getClassInfo(int32 index, ClassInfo* info)
{
    const ClassEntry* e = entry(index);
    if (!info || !e)
        return kInvalidArgument;
    if (e->isUnicode) {
        std::memset(info, 0, sizeof *info);
        return kResultFalse;
    }
    std::memcpy(info, &e->info8, sizeof(ClassInfo));
    return kResultOk;
}

tresult PlxFactory::getClassInfo2(int32 index, ClassInfo2* info)
{
    const ClassEntry* e = entry(index);
    if (!info || !e)
        return kInvalidArgument;
    if (e->isUnicode) {
        std::memset(info, 0, sizeof *info);
        return kResultFalse;
    }
    *info = e->info8;
    return kResultOk;
}

tresult PlxFactory::getClassInfoUnicode(int32 index, ClassInfoW* info)
{
    const ClassEntry* e = entry(index);
    if (!info || !e)
        return kInvalidArgument;
    *info = e->info16;
    return kResultOk;
}

tresult PlxFactory::createInstance(const TUID& cid, const TUID& iid, void** obj)
{
    if (!obj)
        return kInvalidArgument;
    *obj = nullptr;
    for (int32 i = 0; i < count; ++i) {
        if (!equalTUID(cid, classes[i].info8.cid))
            continue;
        FUnknown* instance = classes[i].createFunc(classes[i].context);
        if (instance) {
            const tresult result = instance->queryInterface(iid, obj);
            // The host's reference is the only one left, or the object dies.
            instance->release();
            if (result == kResultOk)
                return kResultOk;
            *obj = nullptr;
        }
        break;
    }
    return kNoInterface;
}

tresult PlxFactory::setHostContext(FUnknown*) { return kNotImplemented; }

bool PlxFactory::grow()
{
    if (count < capacity)
        return true;
    void* larger = std::realloc(classes, sizeof(ClassEntry) * static_cast<size_t>(capacity + kGrowBy));
    if (!larger)
        return false;
    classes = static_cast<ClassEntry*>(larger);
    capacity += kGrowBy;
    return true;
}

bool PlxFactory::registerClass(const ClassInfo2* info, ClassCreateFunc createFunc, void* context)
{
    if (!info || !createFunc || !grow())
        return false;
    ClassEntry& e = classes[count];
    std::memset(&e, 0, sizeof e);
    e.info8 = *info;
    e.info16.cid = info->cid;
    e.info16.cardinality = info->cardinality;
    std::memcpy(e.info16.category, info->category, sizeof e.info16.category);
    widenInto(e.info16.name, std::size(e.info16.name), info->name);
    e.info16.classFlags = info->classFlags;
    std::memcpy(e.info16.subCategories, info->subCategories, sizeof e.info16.subCategories);
    widenInto(e.info16.vendor, std::size(e.info16.vendor), info->vendor);
    widenInto(e.info16.version, std::size(e.info16.version), info->version);
    widenInto(e.info16.sdkVersion, std::size(e.info16.sdkVersion), info->sdkVersion);
    e.createFunc = createFunc;
    e.context = context;
    e.isUnicode = false;
    ++count;
    return true;
}

bool PlxFactory::registerClassW(const ClassInfoW* info, ClassCreateFunc createFunc, void* context)
{
    if (!info || !createFunc || !grow())
        return false;
    ClassEntry& e = classes[count];
    std::memset(&e, 0, sizeof e);
    e.info16 = *info;
    e.info8.cid = info->cid;
    e.info8.cardinality = info->cardinality;
    std::memcpy(e.info8.category, info->category, sizeof e.info8.category);
    narrowInto(e.info8.name, sizeof e.info8.name, info->name);
    e.info8.classFlags = info->classFlags;
    std::memcpy(e.info8.subCategories, info->subCategories, sizeof e.info8.subCategories);
    narrowInto(e.info8.vendor, sizeof e.info8.vendor, info->vendor);
    narrowInto(e.info8.version, sizeof e.info8.version, info->version);
    narrowInto(e.info8.sdkVersion, sizeof e.info8.sdkVersion, info->sdkVersion);
    e.createFunc = createFunc;
    e.context = context;
    e.isUnicode = true;
    ++count;
    return true;
}

IPlxFactory* getPluginFactory(std::span<const ClassTableRow> rows)
{
    if (gFactory) {
        gFactory->addRef();
        return gFactory;
    }
    static const FactoryInfo factoryInfo = makeFactoryInfo();
    gFactory = new (std::nothrow) PlxFactory(factoryInfo);
    if (!gFactory)
        return nullptr;
    // All or nothing: a copy that fails the check offers no class at all.
    if (!copyProtectionPasses()) {
        gFactory->release();
        return nullptr;
    }
    for (const ClassTableRow& row : rows) {
        const ClassInfo2 info = makeClassInfo2(row);
        gFactory->registerClass(&info, row.create, nullptr); // a failure leaves the class out
    }
    return gFactory;
}

bool initModule(void* moduleHandle)
{
    if (++gLoadCount == 1 && !gModuleHandle)
        gModuleHandle = moduleHandle;
    return true;
}

bool exitModule()
{
    // A surplus ExitDll drives the count below zero and answers false.
    return --gLoadCount >= 0;
}

void* getModuleHandle() { return gModuleHandle; }

} // namespace Tannhofen::Plx
