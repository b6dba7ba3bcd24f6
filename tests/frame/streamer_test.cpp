// PlxStreamer: little-endian bytes, round trips and text with its order mark.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "frame/streamer.h"
#include "host/lib/memory_stream.h"

using namespace Tannhofen;
using namespace Tannhofen::Plx;

namespace {
IPtr<Host::MemoryStream> newStream(std::vector<uint8_t> bytes = {})
{
    return IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create(std::move(bytes)));
}
} // namespace

TEST(Streamer, WritesLittleEndianBytes)
{
    auto stream = newStream();
    PlxStreamer s(stream.get());
    EXPECT_TRUE(s.writeInt32(0x12345678));
    EXPECT_TRUE(s.writeInt16(-2));
    EXPECT_TRUE(s.writeFloat(1.0f));
    EXPECT_TRUE(s.writeDouble(-2.0));
    EXPECT_TRUE(s.writeInt64(0x0102030405060708));
    EXPECT_TRUE(s.writeBool(true));
    const std::vector<uint8_t> expected = {0x78, 0x56, 0x34, 0x12, 0xFE, 0xFF, 0x00, 0x00, 0x80, 0x3F,
                                           0,    0,    0,    0,    0,    0,    0,    0xC0, 8,    7,
                                           6,    5,    4,    3,    2,    1,    1};
    EXPECT_EQ(stream->bytes(), expected);
    EXPECT_EQ(s.tell(), 27);
}

TEST(Streamer, ReadsBackEveryTypeAndFailsAtTheEnd)
{
    auto stream = newStream();
    PlxStreamer s(stream.get());
    s.writeInt8(-5);
    s.writeInt16(-300);
    s.writeInt32(-70000);
    s.writeInt64(-5000000000LL);
    s.writeUInt32(0xFFFFFFFFu);
    s.writeUInt64(0x8000000000000001ull);
    s.writeFloat(-0.1f);
    s.writeDouble(M_PI);
    s.writeDouble(-180.0);
    ASSERT_TRUE(s.seek(0));

    int8 i8 = 0;
    int16 i16 = 0;
    int32 i32 = 0;
    int64 i64 = 0;
    uint32 u32 = 0;
    uint64 u64 = 0;
    float f = 0;
    double d = 0;
    ASSERT_TRUE(s.readInt8(i8) && s.readInt16(i16) && s.readInt32(i32) && s.readInt64(i64));
    EXPECT_EQ(i8, -5);
    EXPECT_EQ(i16, -300);
    EXPECT_EQ(i32, -70000);
    EXPECT_EQ(i64, -5000000000LL);
    ASSERT_TRUE(s.readUInt32(u32) && s.readUInt64(u64) && s.readFloat(f) && s.readDouble(d));
    EXPECT_EQ(u32, 0xFFFFFFFFu);
    EXPECT_EQ(u64, 0x8000000000000001ull);
    EXPECT_EQ(f, -0.1f);
    EXPECT_EQ(d, M_PI);
    ASSERT_TRUE(s.readDouble(d));
    EXPECT_EQ(d, -180.0);
    EXPECT_FALSE(s.readInt8(i8));

    // Three bytes are not an int32.
    auto shortStream = newStream({1, 2, 3});
    PlxStreamer t(shortStream.get());
    EXPECT_FALSE(t.readInt32(i32));
    PlxStreamer none(nullptr);
    EXPECT_FALSE(none.readInt32(i32));
    EXPECT_FALSE(none.writeInt32(1));
    EXPECT_EQ(none.tell(), -1);
}

TEST(Streamer, TextCarriesAnOrderMarkOnlyWhenNotAscii)
{
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
