// Helpers of the controller tests: a peer that records what the controller
// sends, processor messages, and state streams written byte by byte.
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

namespace Tannhofen::MixCtrlTest {

// Stands in for the processor's connection point.
class RecordingPeer final : public Plx::IConnectionPoint, public Host::RefCounted {
public:
    struct Received {
        std::string id;
        Plx::SpeakerArrangement arrangement = 0; // "binary", when present
        int64_t value = -1;                      // the attribute named like the message, when present
    };
    Plx::tresult queryInterface(const Plx::TUID& iid, void** obj) override {
        PLX_HOST_ANSWER(iid, obj, Plx::IConnectionPoint)
        PLX_HOST_ANSWER(iid, obj, Plx::FUnknown)
        *obj = nullptr;
        return Plx::kNoInterface;
    }
    PLX_HOST_REFCOUNT
    Plx::tresult connect(Plx::IConnectionPoint*) override { return Plx::kResultOk; }
    Plx::tresult disconnect(Plx::IConnectionPoint*) override { return Plx::kResultOk; }
    Plx::tresult notify(Plx::IMessage* message) override {
        Received r;
        r.id = message->getMessageID() ? message->getMessageID() : "";
        const void* data = nullptr;
        Plx::uint32 size = 0;
        if (message->getAttributes()->getBinary("binary", &data, &size) == Plx::kResultOk && size == 8)
            std::memcpy(&r.arrangement, data, 8);
        message->getAttributes()->getInt(r.id.c_str(), &r.value);
        messages.push_back(r);
        return Plx::kResultOk;
    }
    std::vector<Received> messages;
};

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
