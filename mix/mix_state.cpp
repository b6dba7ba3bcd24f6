#include "mix/mix_state.h"

#include <cmath>
#include <cstring>

#include "frame/streamer.h"

namespace Tannhofen::Mix {

namespace {

// Reads and drops `length` bytes, in pieces.
bool skipBytes(Plx::PlxStreamer& in, int32_t length) {
    char piece[256];
    while (length > 0) {
        const int32_t want = length < 256 ? length : 256;
        if (!in.readRaw(piece, want)) return false;
        length -= want;
    }
    return true;
}

} // namespace

int16_t stateKindOf(int32_t type) {
    switch (type) {
    case Plx::ParamInfoRecord::kInteger: return kKindInt64;
    case Plx::ParamInfoRecord::kOnOff: return kKindBool;
    case Plx::ParamInfoRecord::kFloat: return kKindDouble;
    default: return kKindString;
    }
}

bool writeMixState(Plx::IPlxStream* stream, IParamGetPlainValue& source, const ParamTable& table,
                   Plx::SpeakerArrangement in, Plx::SpeakerArrangement out) {
    if (!stream) return false;
    Plx::PlxStreamer s(stream);
    const int32_t version = source.getVersion();
    int32_t saved = 0;
    for (int32_t i = 0; i < table.count(); ++i)
        if (!(table.row(i).flags & Plx::ParamInfoRecord::kNotSaved)) ++saved;
    bool ok = s.writeInt32(kMixStateMagic) && s.writeInt32(kMixStateFormat) && s.writeInt32(version) &&
              s.writeInt32(saved);
    for (int32_t i = 0; ok && i < table.count(); ++i) {
        const Plx::ParamInfoRecord& row = table.row(i);
        if (row.flags & Plx::ParamInfoRecord::kNotSaved) continue;
        const int16_t kind = stateKindOf(row.type);
        const auto nameLength = static_cast<int32_t>(strnlen(row.name, sizeof row.name - 1) + 1);
        ok = s.writeInt16(kind) && s.writeInt32(nameLength) && s.writeRaw(row.name, nameLength - 1) &&
             s.writeInt8(0) && s.writeInt32(row.id);
        if (!ok) break;
        const double plain = source.getPlainValue(row.id);
        switch (kind) {
        case kKindDouble: ok = s.writeDouble(plain); break;
        case kKindInt64: ok = s.writeInt64(std::llround(plain)); break;
        case kKindBool: ok = s.writeInt16(plain > 0.0 ? 1 : 0); break;
        default: {
            std::string text;
            source.getString(row.id, text);
            ok = s.writeStringUtf8(text);
        }
        }
    }
    if (ok && version == 2)
        ok = s.writeInt64(static_cast<int64_t>(in)) && s.writeInt64(static_cast<int64_t>(out));
    return ok;
}

StateRead readMixParams(Plx::IPlxStream* stream, IParamSetPlainValue& target) {
    if (!stream) return StateRead::Refused;
    Plx::PlxStreamer s(stream);
    int32_t magic = 0;
    int32_t format = 0;
    if (!s.readInt32(magic) || magic != kMixStateMagic || !s.readInt32(format)) return StateRead::Refused;
    if (format >= 2) {
        int32_t version = 0;
        if (!s.readInt32(version) || !target.setVersion(version)) return StateRead::Refused;
    }
    int32_t count = 0;
    if (!s.readInt32(count)) return StateRead::Truncated;
    for (int32_t r = 0; r < count; ++r) {
        int16_t kind = 0;
        int32_t nameLength = 0;
        int32_t id = 0;
        if (!s.readInt16(kind) || !s.readInt32(nameLength) || nameLength < 0 ||
            nameLength > kMaxStateNameBytes || !skipBytes(s, nameLength) || !s.readInt32(id))
            return StateRead::Truncated;
        switch (kind & ~kSecondReceiver) {
        case kKindDouble: {
            double v = 0.0;
            if (!s.readDouble(v)) return StateRead::Truncated;
            target.setPlainValue(id, v);
            break;
        }
        case kKindInt64: {
            int64_t v = 0;
            if (!s.readInt64(v)) return StateRead::Truncated;
            target.setPlainValue(id, static_cast<double>(v));
            break;
        }
        case kKindBool: {
            int16_t v = 0;
            if (!s.readInt16(v)) return StateRead::Truncated;
            target.setPlainValue(id, v ? 1.0 : 0.0);
            break;
        }
        case kKindString: {
            std::string text;
            if (!s.readStringUtf8(text, kMaxStateStringBytes)) return StateRead::Truncated;
            target.setString(id, text);
            break;
        }
        default: return StateRead::Truncated; // a value of unknown size: the rest can't be found
        }
    }
    return StateRead::Complete;
}

bool readStateArrangement(Plx::IPlxStream* stream, Plx::SpeakerArrangement& arr) {
    int64_t value = 0;
    if (!stream || !Plx::PlxStreamer(stream).readInt64(value)) return false;
    arr = static_cast<Plx::SpeakerArrangement>(value);
    return true;
}

} // namespace Tannhofen::Mix
