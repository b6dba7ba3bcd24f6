// The saved state of the mix plug-ins: a little-endian stream with a magic
// number, a format version, the plug-in version, one record per saved
// parameter (kind, name, id, plain value) and, for plug-in version 2, the
// input and output arrangements. Records are matched by id alone.
#pragma once

#include <cstdint>
#include <string>

#include "frame/istream.h"
#include "frame/speaker_arrangement.h"
#include "mix/mix_params.h"

namespace Tannhofen::Mix {

inline constexpr int32_t kMixStateMagic = 0x12345678;
inline constexpr int32_t kMixStateFormat = 2;
inline constexpr int32_t kMixPluginVersion = 2;
// Longest record name and string value that a reader takes.
inline constexpr int32_t kMaxStateNameBytes = 262144;
inline constexpr int32_t kMaxStateStringBytes = 1024;

// Record kinds; a reader also takes kSecondReceiver or-ed in.
enum StateKind : int16_t {
    kKindDouble = 1,
    kKindInt64 = 2,
    kKindBool = 4,
    kKindString = 8,
    kSecondReceiver = 0x20
};

// What a state writer reads plain parameter values from.
class IParamGetPlainValue {
public:
    virtual int32_t getVersion() = 0;
    virtual double getPlainValue(int32_t id) = 0;
    virtual bool getString(int32_t id, std::string& text) = 0;

protected:
    ~IParamGetPlainValue() = default;
};

// What a state reader writes plain parameter values to.
class IParamSetPlainValue {
public:
    // False refuses a stream of this plug-in version.
    virtual bool setVersion(int32_t version) = 0;
    virtual void setPlainValue(int32_t id, double plain) = 0;
    virtual void setString(int32_t id, const std::string& text) = 0;

protected:
    ~IParamSetPlainValue() = default;
};

// The kind under which a row of `type` is saved.
int16_t stateKindOf(int32_t type);

// Writes the whole state. False when the stream refuses a write.
bool writeMixState(Plx::IPlxStream* stream, IParamGetPlainValue& source, const ParamTable& table,
                   Plx::SpeakerArrangement in, Plx::SpeakerArrangement out);

enum class StateRead {
    Refused,   // wrong magic, unreadable header or a refused version: nothing was set
    Truncated, // a record ended early or was absurd: what came before it was set
    Complete,  // every record was read
};

// Reads the header and the parameter records into `target`.
StateRead readMixParams(Plx::IPlxStream* stream, IParamSetPlainValue& target);

// Reads one little-endian arrangement; false at the end of the stream.
bool readStateArrangement(Plx::IPlxStream* stream, Plx::SpeakerArrangement& arr);

} // namespace Tannhofen::Mix
