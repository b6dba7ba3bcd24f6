// The host side of the object bus, for tests and plx: buses of audio objects
// that record every call the panner makes on them, and the bus manager that
// the panner's controller finds through the host context.
//
// RecordingObjectsBus holds its objects and a log of every call (which object,
// what, with which values), reserved up front so that recording from the
// audio thread allocates nothing; calls beyond the reserve are counted as
// dropped. Each object also keeps the last value of each setting.
//
// ObjectsBusManager knows the plug-in instances (each controller with its
// processor's IObjectsBusClient, which Plugin registers) and joins an
// instance's client to the bus its controller chooses. The host can also take
// a bus away (disconnected) or let it vanish (busGone), as a real host does.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "frame/icomponent.h"
#include "frame/ieditcontroller.h"
#include "host/lib/ref_counted.h"
#include "panner/objects_bus.h"

namespace Tannhofen::Host {

// One call that an object received.
struct ObjectCall {
    enum Kind : int32_t { kTouched, kEnabled, kElevationOn, kRenderMode, kPosition, kSize, kSnap, kZones };
    Kind kind;
    int32_t object;
    int32_t value; // the flag or integer of the call; the touch kind for kTouched
    float x, y, z; // kPosition; kSize has its size in x, kEnabled its second value
    bool flag() const { return value != 0; }
};

// The last state of one object, as its calls left it.
struct ObjectState {
    bool touched = false;
    bool enabled = false;
    bool elevationOn = false;
    bool snap = false;
    int32_t renderMode = 0;
    int32_t zones = 0;
    float size = 0.0f;
    float x = 0.0f, y = 0.0f, z = 0.0f;
    int32_t positionCount = 0; // setPosition calls so far
};

class RecordingObjectsBus final : public ThreeD::IObjectsBus {
public:
    RecordingObjectsBus(std::u16string name, int32_t objectCount, size_t capacity = 1u << 16);
    ~RecordingObjectsBus();
    RecordingObjectsBus(const RecordingObjectsBus&) = delete;
    RecordingObjectsBus& operator=(const RecordingObjectsBus&) = delete;

    ThreeD::IObjectHolder* getObject(int32_t index) override;
    int32_t getObjectCount() override { return static_cast<int32_t>(objects.size()); }

    const std::u16string& name() const { return busName; }
    // The calls so far, in order; and those that found the log full.
    const std::vector<ObjectCall>& calls() const { return log; }
    size_t dropped() const { return droppedCalls; }
    void clearCalls();
    const ObjectState& state(int32_t object) const;
    // Calls of `kind` so far, for object `object` or, with -1, for all.
    size_t count(ObjectCall::Kind kind, int32_t object = -1) const;
    // Object `index` answers no control interface from now on.
    void withholdControl(int32_t index);

private:
    struct Object;
    void record(const ObjectCall& call);

    std::u16string busName;
    std::vector<std::unique_ptr<Object>> objects;
    std::vector<ObjectCall> log;
    size_t droppedCalls = 0;
};

class ObjectsBusManager final : public RefCounted, public ThreeD::IObjectsBusManager {
public:
    static ObjectsBusManager* create() { return new ObjectsBusManager; }

    Plx::tresult queryInterface(const Plx::TUID& iid, void** obj) override;
    PLX_HOST_REFCOUNT

    // Buses the host offers; the reference stays valid while the manager lives.
    RecordingObjectsBus& addBus(std::u16string name, int32_t objectCount, size_t capacity = 1u << 16);
    RecordingObjectsBus* bus(int32_t index) const;
    // The host takes bus `index` away from its instance (disconnected), or
    // the bus ceases to exist (busGone; it stays listed but joins no one).
    void takeBusAway(int32_t index);
    void loseBus(int32_t index);
    void setRendererConnected(bool connected);

    // A plug-in instance: its controller and its processor, whose client the
    // manager joins to buses. Plugin calls these.
    void addInstance(Plx::IPlxEditController* controller, Plx::IComponent* component);
    void removeInstance(Plx::IPlxEditController* controller);
    // Instances that registered for object mode; whether `controller`'s did.
    int32_t registeredCount() const;
    bool isRegistered(Plx::IPlxEditController* controller);

    // IObjectsBusManager
    int32_t getBusCount() override { return static_cast<int32_t>(buses.size()); }
    Plx::tresult getBusInfo(int32_t index, ThreeD::ObjectsBusInfo* info) override;
    Plx::tresult registerInstance(Plx::IPlxEditController* controller,
                                  ThreeD::IObjectsBusManagerListener* listener) override;
    Plx::tresult unregisterInstance(Plx::IPlxEditController* controller) override;
    Plx::tresult connectBus(Plx::IPlxEditController* controller, int32_t index) override;
    int32_t getConnectedBus(Plx::IPlxEditController* controller) override;
    Plx::TBool isRendererConnected() override { return renderer ? 1 : 0; }

private:
    struct Instance {
        Plx::IPlxEditController* controller;
        ThreeD::IObjectsBusClient* client; // one reference, or null
        ThreeD::IObjectsBusManagerListener* listener;
        bool registered;
        int32_t bus;
    };
    struct BusEntry {
        std::unique_ptr<RecordingObjectsBus> bus;
        bool gone;
    };
    ObjectsBusManager() = default;
    ~ObjectsBusManager() override;
    Instance* find(Plx::IPlxEditController* controller);
    void tellListeners();

    std::vector<BusEntry> buses;
    std::vector<Instance> instances;
    bool renderer = false;
};

} // namespace Tannhofen::Host
