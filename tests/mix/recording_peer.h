// The recording peer of the mix tests: stands where the other half of a plug-in
// stands (the controller for a processor, the processor for a controller) and
// records every message it is sent. It is the host's connection tap with
// nothing behind it.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "frame/iconnectionpoint.h"
#include "frame/imessage.h"
#include "frame/speaker_arrangement.h"
#include "host/lib/connection_tap.h"

namespace MixTest {

using namespace Tannhofen;

// One message as the peer saw it.
struct Seen {
    std::string id;
    std::map<std::string, int64_t> ints;               // integer attributes by name
    std::map<std::string, std::vector<uint8_t>> blobs; // binary attributes by name
    int64_t value = -1;                                // the integer attribute named like the message
    Plx::SpeakerArrangement arrangement = 0;           // the 8 bytes of "binary", when present
};

class RecordingPeer {
public:
    RecordingPeer()
        : tap(Plx::IPtr<Plx::IConnectionPoint>::adopt(
              Host::ConnectionTap::create(nullptr, [this](Plx::IMessage* m) { record(m); }))) {}
    RecordingPeer(const RecordingPeer&) = delete;
    RecordingPeer& operator=(const RecordingPeer&) = delete;

    // What the plug-in connects to.
    Plx::IConnectionPoint* point() const { return tap.get(); }
    // Shows `message` to the peer as if it had been sent.
    void record(Plx::IMessage* message);
    // The messages with this ID, oldest first.
    std::vector<Seen> withId(const std::string& id) const;

    std::vector<Seen> messages;

private:
    Plx::IPtr<Plx::IConnectionPoint> tap;
};

} // namespace MixTest
