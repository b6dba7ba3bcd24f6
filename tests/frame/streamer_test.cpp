// PlxStreamer: little-endian bytes, round trips and text with its order mark.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "frame/streamer.h"
#include "host/lib/memory_stream.h"

using namespace Tannhofen;
using namespace Tannhofen::Plx;

namespace {
IPtr<Host::MemoryStream> newStream(std::vector<uint8_t> bytes = {}) {
    return IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create(std::move(bytes)));
}
} // namespace

TEST(Streamer, WritesLittleEndianBytes) {
    auto stream = newStream();
    PlxStreamer s(stream.get());
    EXPECT_TRUE(s.writeInt32(0x12345678));
    EXPECT_TRUE(s.writeInt16(-2));
    EXPECT_TRUE(s.writeFloat(1.0f));
    EXPECT_TRUE(s.writeDouble(-2.0));
    EXPECT_TRUE(s.writeInt64(0x0102030405060708));
    EXPECT_TRUE(s.writeBool(true));
    const std::vector<uint8_t> expected = {0x78, 0x56, 0x34, 0x12, 0xFE, 0xFF, 0x00, 0x00, 0x80,
                                           0x3F, 0,    0,    0,    0,    0,    0,    0,    0xC0,
                                           8,    7,    6,    5,    4,    3,    2,    1,    1};
    EXPECT_EQ(stream->bytes(), expected);
    EXPECT_EQ(s.tell(), 27);
}

// Writes one value, reads it back, and finds the stream ended after it.
template <class V>
void expectRoundTrip(bool (PlxStreamer::*write)(V), bool (PlxStreamer::*read)(V&), V value) {
    auto stream = newStream();
    PlxStreamer s(stream.get());
    ASSERT_TRUE((s.*write)(value));
    ASSERT_TRUE(s.seek(0));
    V back{};
    ASSERT_TRUE((s.*read)(back));
    EXPECT_EQ(back, value);
    EXPECT_FALSE((s.*read)(back));
}

TEST(Streamer, ReadsBackEveryTypeAndFailsAtTheEnd) {
    expectRoundTrip<int8>(&PlxStreamer::writeInt8, &PlxStreamer::readInt8, -5);
    expectRoundTrip<int16>(&PlxStreamer::writeInt16, &PlxStreamer::readInt16, -300);
    expectRoundTrip<int32>(&PlxStreamer::writeInt32, &PlxStreamer::readInt32, -70000);
    expectRoundTrip<int64>(&PlxStreamer::writeInt64, &PlxStreamer::readInt64, -5000000000LL);
    expectRoundTrip<uint32>(&PlxStreamer::writeUInt32, &PlxStreamer::readUInt32, 0xFFFFFFFFu);
    expectRoundTrip<uint64>(&PlxStreamer::writeUInt64, &PlxStreamer::readUInt64, 0x8000000000000001ull);
    expectRoundTrip<float>(&PlxStreamer::writeFloat, &PlxStreamer::readFloat, -0.1f);
    expectRoundTrip<double>(&PlxStreamer::writeDouble, &PlxStreamer::readDouble, M_PI);
    expectRoundTrip<bool>(&PlxStreamer::writeBool, &PlxStreamer::readBool, true);

    // Three bytes are not an int32; no stream reads and writes nothing.
    int32 i32 = 0;
    auto shortStream = newStream({1, 2, 3});
    EXPECT_FALSE(PlxStreamer(shortStream.get()).readInt32(i32));
    PlxStreamer none(nullptr);
    EXPECT_FALSE(none.readInt32(i32));
    EXPECT_FALSE(none.writeInt32(1));
    EXPECT_EQ(none.tell(), -1);
}

TEST(Streamer, TextCarriesAnOrderMarkOnlyWhenNotAscii) {
    auto stream = newStream();
    PlxStreamer s(stream.get());
    EXPECT_TRUE(s.writeStringUtf8(std::string("kemar.sofa")));
    EXPECT_EQ(stream->bytes().size(), 11u);
    EXPECT_EQ(stream->bytes().back(), 0);
    EXPECT_TRUE(s.writeStringUtf8(u"Gr\u00FC\u00DF"));
    const std::vector<uint8_t> tail(stream->bytes().begin() + 11, stream->bytes().end());
    EXPECT_EQ(tail, (std::vector<uint8_t>{0xEF, 0xBB, 0xBF, 'G', 'r', 0xC3, 0xBC, 0xC3, 0x9F, 0}));
    EXPECT_TRUE(s.writeStr8("centerLvl"));

    s.seek(0);
    std::string text;
    ASSERT_TRUE(s.readStringUtf8(text, 1024));
    EXPECT_EQ(text, "kemar.sofa");
    ASSERT_TRUE(s.readStringUtf8(text, 1024));
    EXPECT_EQ(text, "Gr\xC3\xBC\xC3\x9F");
    // The name is longer than the limit allows.
    const int64 before = s.tell();
    EXPECT_FALSE(s.readStr8(text, 5));
    s.seek(before);
    ASSERT_TRUE(s.readStr8(text, 10));
    EXPECT_EQ(text, "centerLvl");
    EXPECT_FALSE(s.readStr8(text, 10)); // the stream has ended
}
