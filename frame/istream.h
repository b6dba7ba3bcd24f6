// IPlxStream: a byte stream that carries saved state between host and plug-in.
#pragma once

#include "frame/funknown.h"

namespace Tannhofen::Plx {

class IPlxStream : public FUnknown {
public:
    enum SeekMode : int32 { kSeekSet = 0, kSeekCur = 1, kSeekEnd = 2 };
    // Reads up to numBytes; *numBytesRead (may be null) tells how many came.
    // Reading at the end answers kResultFalse.
    virtual tresult read(void* buffer, int32 numBytes, int32* numBytesRead) = 0;
    virtual tresult write(const void* buffer, int32 numBytes, int32* numBytesWritten) = 0;
    virtual tresult seek(int64 pos, int32 mode, int64* result) = 0;
    virtual tresult tell(int64* pos) = 0;
    PLX_INTERFACE_ID(0x56E98D36, 0x34514DF1, 0x8E7E0199, 0x78DD337A);

protected:
    ~IPlxStream() = default;
};

} // namespace Tannhofen::Plx
