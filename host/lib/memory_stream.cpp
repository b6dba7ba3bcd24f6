#include "host/lib/memory_stream.h"

#include <algorithm>
#include <cstring>

namespace Tannhofen::Host {

using namespace Plx;

tresult MemoryStream::queryInterface(const TUID& iid, void** obj) {
    if (!obj) return kInvalidArgument;
    PLX_HOST_ANSWER(iid, obj, IPlxStream)
    PLX_HOST_ANSWER(iid, obj, FUnknown)
    *obj = nullptr;
    return kNoInterface;
}

tresult MemoryStream::read(void* buffer, int32_t numBytes, int32_t* numBytesRead) {
    if (numBytesRead) *numBytesRead = 0;
    if (numBytes < 0 || (!buffer && numBytes > 0)) return kInvalidArgument;
    const int64_t available = std::max<int64_t>(0, static_cast<int64_t>(data.size()) - position);
    const auto n = static_cast<int32_t>(std::min<int64_t>(available, numBytes));
    if (n > 0) std::memcpy(buffer, data.data() + position, static_cast<size_t>(n));
    position += n;
    if (numBytesRead) *numBytesRead = n;
    return n == 0 && numBytes > 0 ? kResultFalse : kResultOk;
}

tresult MemoryStream::write(const void* buffer, int32_t numBytes, int32_t* numBytesWritten) {
    if (numBytesWritten) *numBytesWritten = 0;
    if (numBytes < 0 || (!buffer && numBytes > 0)) return kInvalidArgument;
    const auto end = static_cast<size_t>(position) + static_cast<size_t>(numBytes);
    if (end > data.size()) data.resize(end);
    if (numBytes > 0) std::memcpy(data.data() + position, buffer, static_cast<size_t>(numBytes));
    position += numBytes;
    if (numBytesWritten) *numBytesWritten = numBytes;
    return kResultOk;
}

tresult MemoryStream::seek(int64_t pos, int32_t mode, int64_t* result) {
    int64_t base = 0;
    if (mode == kSeekCur)
        base = position;
    else if (mode == kSeekEnd)
        base = static_cast<int64_t>(data.size());
    else if (mode != kSeekSet)
        return kInvalidArgument;
    if (base + pos < 0) return kInvalidArgument;
    position = base + pos;
    if (result) *result = position;
    return kResultOk;
}

tresult MemoryStream::tell(int64_t* pos) {
    if (!pos) return kInvalidArgument;
    *pos = position;
    return kResultOk;
}

} // namespace Tannhofen::Host
