// ObjectsClient: the panner processor's link to the host's object bus. In
// object mode the panner steers one host object per input channel: it pushes
// the channels' positions and the object settings (size, snap, zones,
// elevation) to the objects instead of mixing to speakers.
//
// The host joins the client to a bus through IObjectsBusClient; the processor
// (an IAssignListener) hears of it and sends the full object state. Each call
// from the processor loops over the channel-to-object list and answers whether
// it reached every object; no caller acts on the answer.
//
// Threads: setPositions, setTouched and the setters run on the audio thread,
// connected, disconnected and busGone on the host's thread, with no lock. The
// bus pointer, the list and the active flag are atomics, so a bus that goes
// away in the middle of a block is seen either whole or not at all; none of
// the calls allocates.
#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <span>

#include "panner/objects_bus.h"

namespace Tannhofen::Panner {

// Told that the host joined the client to a bus.
class IAssignListener {
public:
    virtual void onAssign() = 0;

protected:
    ~IAssignListener() = default;
};

// The mapping from the panner's centred coordinates (-0.5 to 0.5, y front to
// rear, z bottom to top) to object coordinates (x -1 left to 1 right, y 1
// front to -1 rear, z 0 bottom to 1 top).
struct ObjectMapping {
    float xScale = 2.0f;
    float yScale = -2.0f;
    float zOffset = 0.5f;
    std::array<float, 3> map(const std::array<float, 3>& centred) const {
        return {xScale * centred[0], yScale * centred[1], zOffset + centred[2]};
    }
};

class ObjectsClient final : public ThreeD::IObjectsBusClient {
public:
    // Channels the list can hold: every speaker bit of a bus.
    static constexpr int32_t kMaxChannels = 64;

    // Made with one reference for the caller.
    ObjectsClient() = default;
    ObjectsClient(const ObjectsClient&) = delete;
    ObjectsClient& operator=(const ObjectsClient&) = delete;

    // IObjectsBusClient
    Plx::tresult queryInterface(const Plx::TUID& iid, void** obj) override;
    uint32_t addRef() override;
    uint32_t release() override;
    void destroy() override;
    int32_t getVersion() override { return 0; }
    bool connected(ThreeD::IObjectsBus* bus) override;
    bool disconnected(ThreeD::IObjectsBus* bus) override;
    bool busGone() override;

    // The processor that hears of a new bus; null for none. Not owned.
    void setListener(IAssignListener* listener) { this->listener.store(listener); }

    // Calls from the processor. Nothing is sent without a bus, outside object
    // mode (but for setEnabled), or when the bus has more objects than the
    // list has entries.
    void setActive(bool flag) { active.store(flag, std::memory_order_relaxed); }
    bool setEnabled(bool flag);
    // `normalized` is the zone mode parameter; the objects get 0 to 5.
    bool setZoneMode(double normalized);
    bool setSnap(bool flag);
    bool setSize(float value);
    bool setElevationOn(bool flag);
    // Channel i of the first `count` gets positions[i], in centred coordinates.
    bool setPositions(const std::array<float, 3>* positions, int32_t count);
    // Modes 1, 2 and 3 go to the objects as 2, 4 and 3; any other as 1.
    bool setRenderMode(int32_t mode);
    bool setTouched(bool flag);
    // The bus channel of each grid position (the model's input map). Entries
    // beyond the bus's objects (an input's LFE) are dropped, and the others
    // stay dense. Runs with the stream stopped.
    void setChannelMap(std::span<const int32_t> map);

    // Reads, for the processor and tests.
    bool isActive() const { return active.load(std::memory_order_relaxed); }
    bool hasBus() const { return bus.load() != nullptr; }
    int32_t objectIndexCount() const { return indexCount.load(); }
    int32_t objectIndex(int32_t channel) const {
        return objectIndices[channel].load(std::memory_order_relaxed);
    }
    const ObjectMapping& mapping() const { return objectMapping; }

private:
    ~ObjectsClient() = default;

    // Runs `send` on the control of each object in the list, up to the bus's
    // object count and `limit` channels. False when nothing could be sent or
    // an object was missing.
    template <class Send>
    bool forEachObject(int32_t limit, bool needActive, Send send);
    // Drops the last `k` entries and closes the gaps they leave.
    void trim(int32_t k);

    std::atomic<int32_t> refCount{1};
    std::atomic<ThreeD::IObjectsBus*> bus{nullptr};
    std::atomic<IAssignListener*> listener{nullptr};
    ObjectMapping objectMapping;
    std::array<std::atomic<int32_t>, kMaxChannels> objectIndices{};
    std::atomic<int32_t> indexCount{0};
    std::atomic<bool> active{false};
};

} // namespace Tannhofen::Panner
