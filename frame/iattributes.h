// IPlxAttributes: a list of named values that a message carries. Names are
// 8-bit text; strings are 16-bit text. Each getter answers kResultFalse when
// the name is missing or holds another type.
#pragma once

#include "frame/funknown.h"

namespace Tannhofen::Plx {

class IPlxAttributes : public FUnknown {
public:
    virtual tresult setInt(const char* id, int64 value) = 0;
    virtual tresult getInt(const char* id, int64* value) = 0;
    virtual tresult setFloat(const char* id, double value) = 0;
    virtual tresult getFloat(const char* id, double* value) = 0;
    // `string` is zero-terminated.
    virtual tresult setString(const char* id, const char16* string) = 0;
    // Copies at most sizeInBytes bytes, always zero-terminated.
    virtual tresult getString(const char* id, char16* string, uint32 sizeInBytes) = 0;
    virtual tresult setBinary(const char* id, const void* data, uint32 sizeInBytes) = 0;
    // `data` points into the list and stays valid while the list lives unchanged.
    virtual tresult getBinary(const char* id, const void** data, uint32* sizeInBytes) = 0;
    PLX_INTERFACE_ID(0xBD9AF0D8, 0xF02B42AB, 0x8B8F300E, 0x4ECE5D07);

protected:
    ~IPlxAttributes() = default;
};

} // namespace Tannhofen::Plx
