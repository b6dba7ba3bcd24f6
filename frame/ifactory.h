// The class factory interfaces and their records. The records lie in memory
// byte for byte as hosts read them: ClassInfo 116 bytes, ClassInfo2 440,
// ClassInfoW 696.
#pragma once

#include "frame/funknown.h"

namespace Tannhofen::Plx {

struct FactoryInfo {
    static constexpr int32 kUnicode = 0x10; // all class records also come as 16-bit text
    char vendor[64];
    char url[256];
    char email[128];
    int32 flags;
};

struct ClassInfo {
    static constexpr int32 kManyInstances = 0x7FFFFFFF;
    TUID cid;
    int32 cardinality;
    char category[32];
    char name[64];
};

struct ClassInfo2 {
    static constexpr uint32 kDistributable = 1u << 0;
    TUID cid;
    int32 cardinality;
    char category[32];
    char name[64];
    uint32 classFlags;
    char subCategories[128];
    char vendor[64];
    char version[64];
    char sdkVersion[64];
};

struct ClassInfoW {
    TUID cid;
    int32 cardinality;
    char category[32];
    char16 name[64];
    uint32 classFlags;
    char subCategories[128];
    char16 vendor[64];
    char16 version[64];
    char16 sdkVersion[64];
};

static_assert(sizeof(FactoryInfo) == 452);
static_assert(sizeof(ClassInfo) == 116);
static_assert(sizeof(ClassInfo2) == 440);
static_assert(sizeof(ClassInfoW) == 696);

class IPlxFactory : public FUnknown {
public:
    virtual tresult getFactoryInfo(FactoryInfo* info) = 0;
    virtual int32 countClasses() = 0;
    virtual tresult getClassInfo(int32 index, ClassInfo* info) = 0;
    // One reference for the caller in *obj, or null and kNoInterface.
    virtual tresult createInstance(const TUID& cid, const TUID& iid, void** obj) = 0;
    PLX_INTERFACE_ID(0x2118743C, 0x5CF44E2F, 0x9612E298, 0x49AA721A);

protected:
    ~IPlxFactory() = default;
};

class IPlxFactory2 : public IPlxFactory {
public:
    virtual tresult getClassInfo2(int32 index, ClassInfo2* info) = 0;
    PLX_INTERFACE_ID(0x203FB989, 0x09CF431F, 0x85DF392B, 0x0C7EC559);

protected:
    ~IPlxFactory2() = default;
};

class IPlxFactory3 : public IPlxFactory2 {
public:
    virtual tresult getClassInfoUnicode(int32 index, ClassInfoW* info) = 0;
    virtual tresult setHostContext(FUnknown* context) = 0;
    PLX_INTERFACE_ID(0x779FC092, 0x949C43CA, 0x9CD2E4B4, 0xBFF9D772);

protected:
    ~IPlxFactory3() = default;
};

} // namespace Tannhofen::Plx
