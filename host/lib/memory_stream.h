// MemoryStream: a growing byte stream (IPlxStream) in memory, for state.
#pragma once

#include <vector>

#include "frame/istream.h"
#include "host/lib/ref_counted.h"

namespace Tannhofen::Host {

class MemoryStream final : public RefCounted, public Plx::IPlxStream {
public:
    static MemoryStream* create() { return new MemoryStream; }
    static MemoryStream* create(std::vector<uint8_t> bytes) { return new MemoryStream(std::move(bytes)); }

    Plx::tresult queryInterface(const Plx::TUID& iid, void** obj) override;
    PLX_HOST_REFCOUNT

    Plx::tresult read(void* buffer, int32_t numBytes, int32_t* numBytesRead) override;
    Plx::tresult write(const void* buffer, int32_t numBytes, int32_t* numBytesWritten) override;
    Plx::tresult seek(int64_t pos, int32_t mode, int64_t* result) override;
    Plx::tresult tell(int64_t* pos) override;

    const std::vector<uint8_t>& bytes() const { return data; }
    // Back to the start, for reading what was written.
    void rewind() { position = 0; }

private:
    MemoryStream() = default;
    explicit MemoryStream(std::vector<uint8_t> bytes) : data(std::move(bytes)) {}

    std::vector<uint8_t> data;
    int64_t position = 0;
};

} // namespace Tannhofen::Host
