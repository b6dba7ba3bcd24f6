#include "frame/factory.h"

#include <cstdlib>
#include <cstring>

#include "frame/class_ids.h"
#include "frame/copy_protection.h"
#include "frame/text.h"

namespace Tannhofen::Plx {

namespace {

// The one factory of the module, cleared by its destructor.
PlxFactory* gFactory = nullptr;

std::atomic<int32> gLoadCount{0};
void* gModuleHandle = nullptr;

constexpr int32 kGrowBy = 10;
constexpr const char* kVendorEmail = "plugins@tannhofen.de";
constexpr const char* kClassVersion = "10.0.10.23";
constexpr const char* kSdkVersion = "PLX 3.7.0";

FactoryInfo makeFactoryInfo() {
    FactoryInfo info;
    copyBounded(info.vendor, sizeof info.vendor, kVendorName);
    copyBounded(info.url, sizeof info.url, kVendorUrl);
    copyBounded(info.email, sizeof info.email, kVendorEmail);
    info.flags = FactoryInfo::kUnicode;
    return info;
}

ClassInfo2 makeClassInfo2(const ClassTableRow& row) {
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

PlxFactory::~PlxFactory() {
    if (gFactory == this) gFactory = nullptr;
    std::free(classes);
}

tresult PlxFactory::queryInterface(const TUID& iid, void** obj) {
    if (!obj) return kInvalidArgument;
    if (equalTUID(iid, FUnknown::iid) || equalTUID(iid, IPlxFactory::iid) ||
        equalTUID(iid, IPlxFactory2::iid) || equalTUID(iid, IPlxFactory3::iid)) {
        addRef();
        *obj = static_cast<IPlxFactory3*>(this);
        return kResultOk;
    }
    *obj = nullptr;
    return kNoInterface;
}

uint32 PlxFactory::addRef() {
    return static_cast<uint32>(++refCount);
}

uint32 PlxFactory::release() {
    const int32 left = --refCount;
    if (left == 0) {
        refCount = -1000;
        delete this;
        return 0;
    }
    return static_cast<uint32>(left);
}

tresult PlxFactory::getFactoryInfo(FactoryInfo* info) {
    if (info) *info = factoryInfo;
    return kResultOk;
}

const PlxFactory::ClassEntry* PlxFactory::entry(int32 index) const {
    return index >= 0 && index < count ? &classes[index] : nullptr;
}

tresult PlxFactory::getClassInfo(int32 index, ClassInfo* info) {
    const ClassEntry* e = entry(index);
    if (!info || !e) return kInvalidArgument;
    if (e->isUnicode) {
        std::memset(info, 0, sizeof *info);
        return kResultFalse;
    }
    std::memcpy(info, &e->info8, sizeof(ClassInfo));
    return kResultOk;
}

tresult PlxFactory::getClassInfo2(int32 index, ClassInfo2* info) {
    const ClassEntry* e = entry(index);
    if (!info || !e) return kInvalidArgument;
    if (e->isUnicode) {
        std::memset(info, 0, sizeof *info);
        return kResultFalse;
    }
    *info = e->info8;
    return kResultOk;
}

tresult PlxFactory::getClassInfoUnicode(int32 index, ClassInfoW* info) {
    const ClassEntry* e = entry(index);
    if (!info || !e) return kInvalidArgument;
    *info = e->info16;
    return kResultOk;
}

tresult PlxFactory::createInstance(const TUID& cid, const TUID& iid, void** obj) {
    if (!obj) return kInvalidArgument;
    *obj = nullptr;
    for (int32 i = 0; i < count; ++i) {
        if (!equalTUID(cid, classes[i].info8.cid)) continue;
        FUnknown* instance = classes[i].createFunc(classes[i].context);
        if (instance) {
            const tresult result = instance->queryInterface(iid, obj);
            // The host's reference is the only one left, or the object dies.
            instance->release();
            if (result == kResultOk) return kResultOk;
            *obj = nullptr;
        }
        break;
    }
    return kNoInterface;
}

tresult PlxFactory::setHostContext(FUnknown*) {
    return kNotImplemented;
}

bool PlxFactory::grow() {
    if (count < capacity) return true;
    void* larger = std::realloc(classes, sizeof(ClassEntry) * static_cast<size_t>(capacity + kGrowBy));
    if (!larger) return false;
    classes = static_cast<ClassEntry*>(larger);
    capacity += kGrowBy;
    return true;
}

bool PlxFactory::addEntry(const ClassInfo2& info8, const ClassInfoW& info16, ClassCreateFunc createFunc,
                          void* context, bool isUnicode) {
    if (!createFunc || !grow()) return false;
    classes[count] = ClassEntry{info8, info16, createFunc, context, isUnicode};
    ++count;
    return true;
}

bool PlxFactory::registerClass(const ClassInfo2* info, ClassCreateFunc createFunc, void* context) {
    if (!info) return false;
    // The 16-bit form: the texts widened, the rest as it is.
    ClassInfoW wide;
    std::memset(&wide, 0, sizeof wide);
    wide.cid = info->cid;
    wide.cardinality = info->cardinality;
    std::memcpy(wide.category, info->category, sizeof wide.category);
    widenInto(wide.name, std::size(wide.name), info->name);
    wide.classFlags = info->classFlags;
    std::memcpy(wide.subCategories, info->subCategories, sizeof wide.subCategories);
    widenInto(wide.vendor, std::size(wide.vendor), info->vendor);
    widenInto(wide.version, std::size(wide.version), info->version);
    widenInto(wide.sdkVersion, std::size(wide.sdkVersion), info->sdkVersion);
    return addEntry(*info, wide, createFunc, context, false);
}

bool PlxFactory::registerClassW(const ClassInfoW* info, ClassCreateFunc createFunc, void* context) {
    if (!info) return false;
    ClassInfo2 narrow;
    std::memset(&narrow, 0, sizeof narrow);
    narrow.cid = info->cid;
    narrow.cardinality = info->cardinality;
    std::memcpy(narrow.category, info->category, sizeof narrow.category);
    narrowInto(narrow.name, sizeof narrow.name, info->name);
    narrow.classFlags = info->classFlags;
    std::memcpy(narrow.subCategories, info->subCategories, sizeof narrow.subCategories);
    narrowInto(narrow.vendor, sizeof narrow.vendor, info->vendor);
    narrowInto(narrow.version, sizeof narrow.version, info->version);
    narrowInto(narrow.sdkVersion, sizeof narrow.sdkVersion, info->sdkVersion);
    return addEntry(narrow, *info, createFunc, context, true);
}

IPlxFactory* getPluginFactory(std::span<const ClassTableRow> rows) {
    if (gFactory) {
        gFactory->addRef();
        return gFactory;
    }
    static const FactoryInfo factoryInfo = makeFactoryInfo();
    gFactory = new (std::nothrow) PlxFactory(factoryInfo);
    if (!gFactory) return nullptr;
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

bool initModule(void* moduleHandle) {
    if (++gLoadCount == 1 && !gModuleHandle) gModuleHandle = moduleHandle;
    return true;
}

bool exitModule() {
    // A surplus ExitDll drives the count below zero and answers false.
    return --gLoadCount >= 0;
}

void* getModuleHandle() {
    return gModuleHandle;
}

} // namespace Tannhofen::Plx
