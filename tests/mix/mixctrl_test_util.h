// Helpers of the controller tests: the recording peer, processor messages, and state streams written byte by byte.
#pragma once

#include <bit>
#include <cstring>
#include <string>
#include <vector>

#include "frame/iconnectionpoint.h"
#include "frame/imessage.h"
#include "frame/speaker_arrangement.h"
#include "host/lib/memory_stream.h"
#include "host/lib/message.h"
#include "host/lib/ref_counted.h"
#include "tests/mix/recording_peer.h"

namespace Tannhofen::MixCtrlTest {

using ::MixTest::RecordingPeer;

// A host message with the given ID (none when empty).
inline Plx::IPtr<Plx::IMessage> message(const char* id) {
    auto m = Plx::IPtr<Plx::IMessage>::adopt(Host::HostMessage::create());
    if (*id) m->setMessageID(id);
    return m;
}

inline Plx::IPtr<Plx::IMessage> busMessage(Plx::SpeakerArrangement in, Plx::SpeakerArrangement out,
                                           bool changeParams) {
    auto message = MixCtrlTest::message("busArrangements");
    message->getAttributes()->setBinary("input", &in, sizeof in);
    message->getAttributes()->setBinary("output", &out, sizeof out);
    message->getAttributes()->setInt("changeParams", changeParams ? 1 : 0);
    return message;
}

// A mix state, written field by field, little-endian.
class StateBuilder {
public:
    // A negative plug-in version leaves the field out.
    void header(int32_t format, int32_t pluginVersion, int32_t count) {
        raw32(0x12345678);
        raw32(format);
        if (pluginVersion >= 0) raw32(pluginVersion);
        raw32(count);
    }
    void doubleRecord(const char* name, int32_t id, double value) {
        recordHead(1, name, id);
        raw64(std::bit_cast<uint64_t>(value));
    }
    void int64Record(const char* name, int32_t id, int64_t value) {
        recordHead(2, name, id);
        raw64(static_cast<uint64_t>(value));
    }
    void boolRecord(const char* name, int32_t id, bool value) {
        recordHead(4, name, id);
        raw16(value ? 1 : 0);
    }
    void arrangements(Plx::SpeakerArrangement in, Plx::SpeakerArrangement out) { raw64(in), raw64(out); }
    void raw16(uint16_t v) { little(v, 2); }
    void raw32(uint32_t v) { little(v, 4); }
    void raw64(uint64_t v) { little(v, 8); }
    void truncate(size_t n) { data.resize(data.size() > n ? data.size() - n : 0); }
    const std::vector<uint8_t>& bytes() const { return data; }
    Plx::IPtr<Host::MemoryStream> stream() const {
        return Plx::IPtr<Host::MemoryStream>::adopt(Host::MemoryStream::create(data));
    }

private:
    void recordHead(uint16_t kind, const char* name, int32_t id) {
        raw16(kind);
        raw32(static_cast<uint32_t>(std::strlen(name) + 1));
        data.insert(data.end(), name, name + std::strlen(name) + 1);
        raw32(static_cast<uint32_t>(id));
    }
    void little(uint64_t v, int bytes) {
        for (int i = 0; i < bytes; ++i) data.push_back(static_cast<uint8_t>(v >> (8 * i)));
    }
    std::vector<uint8_t> data;
};

} // namespace Tannhofen::MixCtrlTest
