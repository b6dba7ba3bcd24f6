#include "tests/mix/recording_peer.h"

#include <cstring>

namespace MixTest {

using namespace Tannhofen;

void RecordingPeer::record(Plx::IMessage* message) {
    Seen seen;
    seen.id = message->getMessageID() ? message->getMessageID() : "";
    Plx::IPlxAttributes* a = message->getAttributes();
    for (const char* name : {"input", "output", "coefficients", "binary"}) {
        const void* data = nullptr;
        uint32_t size = 0;
        if (a && a->getBinary(name, &data, &size) == Plx::kResultOk)
            seen.blobs[name].assign(static_cast<const uint8_t*>(data),
                                    static_cast<const uint8_t*>(data) + size);
    }
    for (const char* name : {"changeParams", "matrixSize", "vuMetersProcessing", "flags", "usedAsPanner"}) {
        int64_t value = 0;
        if (a && a->getInt(name, &value) == Plx::kResultOk) seen.ints[name] = value;
    }
    if (a) a->getInt(seen.id.c_str(), &seen.value);
    if (auto it = seen.blobs.find("binary");
        it != seen.blobs.end() && it->second.size() == sizeof seen.arrangement)
        std::memcpy(&seen.arrangement, it->second.data(), sizeof seen.arrangement);
    messages.push_back(std::move(seen));
}

std::vector<Seen> RecordingPeer::withId(const std::string& id) const {
    std::vector<Seen> found;
    for (const auto& m : messages)
        if (m.id == id) found.push_back(m);
    return found;
}

} // namespace MixTest
