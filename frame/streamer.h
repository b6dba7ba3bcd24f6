// PlxStreamer: reads and writes numbers and text over an IPlxStream, always
// little-endian, for the plug-ins' saved state. Every read answers false when
// the stream ends early or fails.
#pragma once

#include <string>

#include "frame/istream.h"

namespace Tannhofen::Plx {

class PlxStreamer {
public:
    explicit PlxStreamer(IPlxStream* stream) : stream(stream) {}

    bool writeInt8(int8 v) { return writeRaw(&v, 1); }
    bool writeInt16(int16 v) { return writeLE(static_cast<uint16>(v)); }
    bool writeInt32(int32 v) { return writeLE(static_cast<uint32>(v)); }
    bool writeInt64(int64 v) { return writeLE(static_cast<uint64>(v)); }
    bool writeUInt32(uint32 v) { return writeLE(v); }
    bool writeUInt64(uint64 v) { return writeLE(v); }
    bool writeFloat(float v);
    bool writeDouble(double v);
    bool writeBool(bool v) { return writeInt8(v ? 1 : 0); }

    bool readInt8(int8& v) { return readRaw(&v, 1); }
    bool readInt16(int16& v);
    bool readInt32(int32& v);
    bool readInt64(int64& v);
    bool readUInt32(uint32& v) { return readLE(v); }
    bool readUInt64(uint64& v) { return readLE(v); }
    bool readFloat(float& v);
    bool readDouble(double& v);
    bool readBool(bool& v);

    // 8-bit text with its terminating zero.
    bool writeStr8(const char* text);
    // Reads up to and with a terminating zero, at most maxBytes bytes in all;
    // false when no zero comes within them.
    bool readStr8(std::string& text, int32 maxBytes);

    // UTF-8 text with its terminating zero, behind the 3-byte order mark
    // EF BB BF when the text isn't plain ASCII.
    bool writeStringUtf8(const std::string& utf8);
    bool writeStringUtf8(const char16* text);
    // Reads such text, dropping the order mark; at most maxBytes bytes in all.
    bool readStringUtf8(std::string& utf8, int32 maxBytes);

    bool writeRaw(const void* data, int32 size);
    bool readRaw(void* data, int32 size);

    // Position in the stream; -1 when the stream can't tell.
    int64 tell();
    bool seek(int64 pos, int32 mode = IPlxStream::kSeekSet);

    IPlxStream* getStream() const { return stream; }

private:
    template <class U>
    bool writeLE(U v);
    template <class U>
    bool readLE(U& v);

    IPlxStream* stream;
};

} // namespace Tannhofen::Plx
