#include "frame/streamer.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "frame/text.h"

namespace Tannhofen::Plx {

template <class U>
bool PlxStreamer::writeLE(U v) {
    uint8 bytes[sizeof(U)];
    for (size_t i = 0; i < sizeof(U); ++i) bytes[i] = static_cast<uint8>(v >> (8 * i));
    return writeRaw(bytes, sizeof(U));
}

template <class U>
bool PlxStreamer::readLE(U& v) {
    uint8 bytes[sizeof(U)];
    if (!readRaw(bytes, sizeof(U))) return false;
    U r = 0;
    for (size_t i = 0; i < sizeof(U); ++i) r |= static_cast<U>(static_cast<U>(bytes[i]) << (8 * i));
    v = r;
    return true;
}

template bool PlxStreamer::writeLE<uint16>(uint16);
template bool PlxStreamer::writeLE<uint32>(uint32);
template bool PlxStreamer::writeLE<uint64>(uint64);
template bool PlxStreamer::readLE<uint16>(uint16&);
template bool PlxStreamer::readLE<uint32>(uint32&);
template bool PlxStreamer::readLE<uint64>(uint64&);

bool PlxStreamer::writeRaw(const void* data, int32 size) {
    if (!stream || size < 0) return false;
    int32 written = 0;
    return stream->write(data, size, &written) == kResultOk && written == size;
}

bool PlxStreamer::readRaw(void* data, int32 size) {
    if (!stream || size < 0) return false;
    int32 got = 0;
    return stream->read(data, size, &got) == kResultOk && got == size;
}

bool PlxStreamer::writeFloat(float v) {
    return writeLE(std::bit_cast<uint32>(v));
}
bool PlxStreamer::writeDouble(double v) {
    return writeLE(std::bit_cast<uint64>(v));
}

bool PlxStreamer::readInt16(int16& v) {
    uint16 u = 0;
    if (!readLE(u)) return false;
    v = static_cast<int16>(u);
    return true;
}

bool PlxStreamer::readInt32(int32& v) {
    uint32 u = 0;
    if (!readLE(u)) return false;
    v = static_cast<int32>(u);
    return true;
}

bool PlxStreamer::readInt64(int64& v) {
    uint64 u = 0;
    if (!readLE(u)) return false;
    v = static_cast<int64>(u);
    return true;
}

bool PlxStreamer::readFloat(float& v) {
    uint32 u = 0;
    if (!readLE(u)) return false;
    v = std::bit_cast<float>(u);
    return true;
}

bool PlxStreamer::readDouble(double& v) {
    uint64 u = 0;
    if (!readLE(u)) return false;
    v = std::bit_cast<double>(u);
    return true;
}

bool PlxStreamer::readBool(bool& v) {
    int8 b = 0;
    if (!readInt8(b)) return false;
    v = b != 0;
    return true;
}

bool PlxStreamer::writeStr8(const char* text) {
    const char* s = text ? text : "";
    return writeRaw(s, static_cast<int32>(std::strlen(s) + 1));
}

bool PlxStreamer::readStr8(std::string& text, int32 maxBytes) {
    std::string read;
    for (int32 i = 0; i < maxBytes; ++i) {
        char c = 0;
        if (!readRaw(&c, 1)) return false;
        if (c == 0) {
            text = std::move(read);
            return true;
        }
        read += c;
    }
    return false;
}

namespace {
constexpr char kByteOrderMark[] = "\xEF\xBB\xBF";
}

bool PlxStreamer::writeStringUtf8(const std::string& utf8) {
    const bool ascii = std::all_of(utf8.begin(), utf8.end(),
                                   [](char c) { return (static_cast<unsigned char>(c) & 0x80) == 0; });
    if (!ascii && !writeRaw(kByteOrderMark, 3)) return false;
    return writeStr8(utf8.c_str());
}

bool PlxStreamer::writeStringUtf8(const char16* text) {
    return writeStringUtf8(utf16ToUtf8(std::u16string_view(text ? text : u"", strlen16(text))));
}

bool PlxStreamer::readStringUtf8(std::string& utf8, int32 maxBytes) {
    std::string read;
    if (!readStr8(read, maxBytes)) return false;
    if (read.compare(0, 3, kByteOrderMark) == 0) read.erase(0, 3);
    utf8 = std::move(read);
    return true;
}

int64 PlxStreamer::tell() {
    int64 pos = -1;
    if (!stream || stream->tell(&pos) != kResultOk) return -1;
    return pos;
}

bool PlxStreamer::seek(int64 pos, int32 mode) {
    int64 result = 0;
    return stream && stream->seek(pos, mode, &result) == kResultOk;
}

} // namespace Tannhofen::Plx
