// The module's class factory: PlxFactory with its class entries, the class
// table row type, and the module-wide entry logic behind InitDll, ExitDll and
// GetPluginFactory.
#pragma once

#include <atomic>
#include <new>
#include <span>

#include "frame/ifactory.h"

namespace Tannhofen::Plx {

// Creates one instance; returns it with one reference for the caller, or null.
using ClassCreateFunc = FUnknown* (*)(void* context);

// Builds a C and hands it out as its Face (the interface the class table
// names); null when allocation fails.
template <class C, class Face>
FUnknown* createInstanceAs(void*) {
    C* obj = new (std::nothrow) C();
    return obj ? static_cast<FUnknown*>(static_cast<Face*>(obj)) : nullptr;
}

class PlxFactory final : public IPlxFactory3 {
public:
    explicit PlxFactory(const FactoryInfo& info);
    PlxFactory(const PlxFactory&) = delete;
    PlxFactory& operator=(const PlxFactory&) = delete;

    tresult queryInterface(const TUID& iid, void** obj) override;
    uint32 addRef() override;
    uint32 release() override;

    tresult getFactoryInfo(FactoryInfo* info) override;
    int32 countClasses() override { return count; }
    tresult getClassInfo(int32 index, ClassInfo* info) override;
    tresult createInstance(const TUID& cid, const TUID& iid, void** obj) override;
    tresult getClassInfo2(int32 index, ClassInfo2* info) override;
    tresult getClassInfoUnicode(int32 index, ClassInfoW* info) override;
    tresult setHostContext(FUnknown* context) override;

    bool registerClass(const ClassInfo2* info, ClassCreateFunc createFunc, void* context);
    bool registerClassW(const ClassInfoW* info, ClassCreateFunc createFunc, void* context);

private:
    struct ClassEntry {
        ClassInfo2 info8;
        ClassInfoW info16;
        ClassCreateFunc createFunc;
        void* context;
        bool isUnicode;
    };
    ~PlxFactory();
    bool grow();
    bool addEntry(const ClassInfo2& info8, const ClassInfoW& info16, ClassCreateFunc createFunc,
                  void* context, bool isUnicode);
    const ClassEntry* entry(int32 index) const;

    std::atomic<int32> refCount{1};
    FactoryInfo factoryInfo;
    ClassEntry* classes = nullptr;
    int32 count = 0;
    int32 capacity = 0;
};

// One row of the module's class table.
struct ClassTableRow {
    FUID cid;
    uint32 classFlags;
    const char* category;
    const char* name;
    const char* subCategories;
    ClassCreateFunc create;
};

// The module's one factory: the existing one with a further reference, or a
// new one with the rows registered in order. Null when the copy-protection
// check fails or allocation fails.
IPlxFactory* getPluginFactory(std::span<const ClassTableRow> rows);

// The module's load counter and handle.
bool initModule(void* moduleHandle);
bool exitModule();
// The handle stored by the first initModule, for the module's own resources.
void* getModuleHandle();

} // namespace Tannhofen::Plx
