#include "mix/mix_state.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

namespace Tannhofen::Mix {

namespace {

using Plx::IPlxStream;

// Integers and floats cross the stream little-endian, whatever the machine.
template <class T>
bool readValue(IPlxStream* stream, T& value)
{
    unsigned char bytes[sizeof(T)];
    Plx::int32 got = 0;
    if (stream->read(bytes, sizeof(T), &got) != Plx::kResultOk || got != static_cast<Plx::int32>(sizeof(T)))
        return false;
    if constexpr (std::endian::native == std::endian::big)
        std::reverse(bytes, bytes + sizeof(T));
    std::memcpy(&value, bytes, sizeof(T));
    return true;
}

template <class T>
bool writeValue(IPlxStream* stream, T value)
{
    unsigned char bytes[sizeof(T)];
    std::memcpy(bytes, &value, sizeof(T));
    if constexpr (std::endian::native == std::endian::big)
        std::reverse(bytes, bytes + sizeof(T));
    Plx::int32 put = 0;
    return stream->write(bytes, sizeof(T), &put) == Plx::kResultOk && put == static_cast<Plx::int32>(sizeof(T));
}

bool writeBytes(IPlxStream* stream, const void* data, Plx::int32 size)
{
    Plx::int32 put = 0;
    return size == 0 || (stream->write(data, size, &put) == Plx::kResultOk && put == size);
}

// Reads and drops `length` bytes, in pieces.
bool skipBytes(IPlxStream* stream, Plx::int32 length)
{
    char piece[256];
    while (length > 0) {
        const Plx::int32 want = length < 256 ? length : 256;
        Plx::int32 got = 0;
        if (stream->read(piece, want, &got) != Plx::kResultOk || got != want)
            return false;
        length -= want;
    }
    return true;
}

// A zero-terminated text of at most `limit` bytes with its zero.
bool readText(IPlxStream* stream, std::string& text, Plx::int32 limit)
{
    text.clear();
    for (Plx::int32 n = 0; n < limit; ++n) {
        char c = 0;
        if (!readValue(stream, c))
            return false;
        if (c == 0)
            return true;
        text.push_back(c);
    }
    return false;
}

bool isAscii(const std::string& text)
{
    for (unsigned char c : text)
        if (c >= 0x80)
            return false;
    return true;
}

} // namespace

int16_t stateKindOf(int32_t type)
{
    switch (type) {
    case Plx::ParamInfoRecord::kInteger: return kKindInt64;
    case Plx::ParamInfoRecord::kOnOff: return kKindBool;
    case Plx::ParamInfoRecord::kFloat: return kKindDouble;
    default: return kKindString;
    }
}

bool writeMixState(IPlxStream* stream, IParamGetPlainValue& source, const MixParamTable& table,
                   Plx::SpeakerArrangement in, Plx::SpeakerArrangement out)
{
    if (!stream)
        return false;
    const int32_t version = source.getVersion();
    int32_t saved = 0;
    for (int32_t i = 0; i < table.count(); ++i)
        if (!(table.row(i).flags & Plx::ParamInfoRecord::kNotSaved))
            ++saved;
    bool ok = writeValue(stream, kMixStateMagic) && writeValue(stream, kMixStateFormat) &&
              writeValue(stream, version) && writeValue(stream, saved);
    for (int32_t i = 0; ok && i < table.count(); ++i) {
        const Plx::ParamInfoRecord& row = table.row(i);
        if (row.flags & Plx::ParamInfoRecord::kNotSaved)
            continue;
        const int16_t kind = stateKindOf(row.type);
        const auto nameLength = static_cast<int32_t>(strnlen(row.name, sizeof row.name - 1) + 1);
        ok = writeValue(stream, kind) && writeValue(stream, nameLength) && writeBytes(stream, row.name, nameLength - 1) &&
             writeValue(stream, char(0)) && writeValue(stream, row.id);
        if (!ok)
            break;
        const double plain = source.getPlainValue(row.id);
        switch (kind) {
        case kKindDouble: ok = writeValue(stream, plain); break;
        case kKindInt64: ok = writeValue(stream, static_cast<Plx::int64>(std::llround(plain))); break;
        case kKindBool: ok = writeValue(stream, static_cast<int16_t>(plain > 0.0 ? 1 : 0)); break;
        default: {
            std::string text;
            source.getString(row.id, text);
            if (!isAscii(text))
                text.insert(0, "\xEF\xBB\xBF");
            ok = writeBytes(stream, text.data(), static_cast<Plx::int32>(text.size())) && writeValue(stream, char(0));
        }
        }
    }
    if (ok && version == 2)
        ok = writeValue(stream, static_cast<Plx::int64>(in)) && writeValue(stream, static_cast<Plx::int64>(out));
    return ok;
}

StateRead readMixParams(IPlxStream* stream, IParamSetPlainValue& target)
{
    int32_t magic = 0;
    int32_t format = 0;
    if (!stream || !readValue(stream, magic) || magic != kMixStateMagic || !readValue(stream, format))
        return StateRead::Refused;
    if (format >= 2) {
        int32_t version = 0;
        if (!readValue(stream, version) || !target.setVersion(version))
            return StateRead::Refused;
    }
    int32_t count = 0;
    if (!readValue(stream, count))
        return StateRead::Truncated;
    for (int32_t r = 0; r < count; ++r) {
        int16_t kind = 0;
        int32_t nameLength = 0;
        int32_t id = 0;
        if (!readValue(stream, kind) || !readValue(stream, nameLength) || nameLength < 0 ||
            nameLength > kMaxStateNameBytes || !skipBytes(stream, nameLength) || !readValue(stream, id))
            return StateRead::Truncated;
        switch (kind & ~kSecondReceiver) {
        case kKindDouble: {
            double v = 0.0;
            if (!readValue(stream, v))
                return StateRead::Truncated;
            target.setPlainValue(id, v);
            break;
        }
        case kKindInt64: {
            Plx::int64 v = 0;
            if (!readValue(stream, v))
                return StateRead::Truncated;
            target.setPlainValue(id, static_cast<double>(v));
            break;
        }
        case kKindBool: {
            int16_t v = 0;
            if (!readValue(stream, v))
                return StateRead::Truncated;
            target.setPlainValue(id, v ? 1.0 : 0.0);
            break;
        }
        case kKindString: {
            std::string text;
            if (!readText(stream, text, kMaxStateStringBytes))
                return StateRead::Truncated;
            target.setString(id, text);
            break;
        }
        default: return StateRead::Truncated; // a value of unknown size: the rest can't be found
        }
    }
    return StateRead::Complete;
}

bool readStateArrangement(IPlxStream* stream, Plx::SpeakerArrangement& arr)
{
    Plx::int64 value = 0;
    if (!stream || !readValue(stream, value))
        return false;
    arr = static_cast<Plx::SpeakerArrangement>(value);
    return true;
}

} // namespace Tannhofen::Mix
