#include "host/lib/object_bus.h"

#include <algorithm>

namespace Tannhofen::Host {

using namespace Plx;
using ThreeD::IObjectsBusClient;

// An object of the bus: its holder and control are the object itself.
struct RecordingObjectsBus::Object final : ThreeD::IObjectHolder, ThreeD::IObjectControl {
    Object(RecordingObjectsBus& bus, int32_t index) : bus(bus), index(index) {}

    ThreeD::IObjectControl* getControl() override { return withheld ? nullptr : this; }

    tresult setTouched(int32_t kind, bool touched) override {
        state.touched = touched;
        return note(ObjectCall::kTouched, kind);
    }
    tresult setEnabled(bool enabled, double value) override {
        state.enabled = enabled;
        return note(ObjectCall::kEnabled, enabled, static_cast<float>(value));
    }
    tresult setElevationOn(bool on) override {
        state.elevationOn = on;
        return note(ObjectCall::kElevationOn, on);
    }
    tresult setRenderMode(int32_t mode) override {
        state.renderMode = mode;
        return note(ObjectCall::kRenderMode, mode);
    }
    tresult setPosition(float x, float y, float z) override {
        state.x = x;
        state.y = y;
        state.z = z;
        ++state.positionCount;
        return note(ObjectCall::kPosition, 0, x, y, z);
    }
    tresult setSize(float size) override {
        state.size = size;
        return note(ObjectCall::kSize, 0, size);
    }
    tresult setSnap(bool on) override {
        state.snap = on;
        return note(ObjectCall::kSnap, on);
    }
    tresult setZones(int32_t zones) override {
        state.zones = zones;
        return note(ObjectCall::kZones, zones);
    }

    tresult note(ObjectCall::Kind kind, int32_t value, float x = 0.0f, float y = 0.0f, float z = 0.0f) {
        bus.record(ObjectCall{kind, index, value, x, y, z});
        return kResultOk;
    }

    RecordingObjectsBus& bus;
    int32_t index;
    ObjectState state;
    bool withheld = false;
};

RecordingObjectsBus::RecordingObjectsBus(std::u16string name, int32_t objectCount, size_t capacity)
    : busName(std::move(name)) {
    for (int32_t i = 0; i < objectCount; ++i) objects.push_back(std::make_unique<Object>(*this, i));
    log.reserve(capacity);
}

RecordingObjectsBus::~RecordingObjectsBus() = default;

ThreeD::IObjectHolder* RecordingObjectsBus::getObject(int32_t index) {
    if (index < 0 || index >= getObjectCount()) return nullptr;
    return objects[static_cast<size_t>(index)].get();
}

void RecordingObjectsBus::record(const ObjectCall& call) {
    // Never grows the log: the audio thread records too.
    if (log.size() < log.capacity())
        log.push_back(call);
    else
        ++droppedCalls;
}

void RecordingObjectsBus::clearCalls() {
    log.clear();
    droppedCalls = 0;
}

const ObjectState& RecordingObjectsBus::state(int32_t object) const {
    return objects.at(static_cast<size_t>(object))->state;
}

size_t RecordingObjectsBus::count(ObjectCall::Kind kind, int32_t object) const {
    return static_cast<size_t>(std::count_if(log.begin(), log.end(), [&](const ObjectCall& c) {
        return c.kind == kind && (object < 0 || c.object == object);
    }));
}

void RecordingObjectsBus::withholdControl(int32_t index) {
    objects.at(static_cast<size_t>(index))->withheld = true;
}

ObjectsBusManager::~ObjectsBusManager() {
    for (Instance& i : instances)
        if (i.client) i.client->release();
}

tresult ObjectsBusManager::queryInterface(const TUID& iid, void** obj) {
    if (!obj) return kInvalidArgument;
    PLX_HOST_ANSWER(iid, obj, ThreeD::IObjectsBusManager)
    if (equalTUID(iid, FUnknown::iid)) {
        addRef();
        *obj = static_cast<FUnknown*>(this);
        return kResultOk;
    }
    *obj = nullptr;
    return kNoInterface;
}

RecordingObjectsBus& ObjectsBusManager::addBus(std::u16string name, int32_t objectCount, size_t capacity) {
    buses.push_back({std::make_unique<RecordingObjectsBus>(std::move(name), objectCount, capacity), false});
    tellListeners();
    return *buses.back().bus;
}

RecordingObjectsBus* ObjectsBusManager::bus(int32_t index) const {
    if (index < 0 || index >= static_cast<int32_t>(buses.size())) return nullptr;
    return buses[static_cast<size_t>(index)].bus.get();
}

void ObjectsBusManager::takeBusAway(int32_t index) {
    for (Instance& i : instances)
        if (i.bus == index) {
            if (i.client) i.client->disconnected(bus(index));
            i.bus = -1;
        }
    tellListeners();
}

void ObjectsBusManager::loseBus(int32_t index) {
    if (!bus(index)) return;
    buses[static_cast<size_t>(index)].gone = true;
    for (Instance& i : instances)
        if (i.bus == index) {
            if (i.client) i.client->busGone();
            i.bus = -1;
        }
    tellListeners();
}

void ObjectsBusManager::setRendererConnected(bool connected) {
    renderer = connected;
    for (Instance& i : instances)
        if (i.listener) i.listener->rendererConnected(connected);
}

void ObjectsBusManager::addInstance(IPlxEditController* controller, IComponent* component) {
    if (!controller || find(controller)) return;
    IObjectsBusClient* client = nullptr;
    void* obj = nullptr;
    if (component && component->queryInterface(IObjectsBusClient::iid, &obj) == kResultOk)
        client = static_cast<IObjectsBusClient*>(obj);
    instances.push_back({controller, client, nullptr, false, -1});
}

void ObjectsBusManager::removeInstance(IPlxEditController* controller) {
    auto it = std::find_if(instances.begin(), instances.end(),
                           [&](const Instance& i) { return i.controller == controller; });
    if (it == instances.end()) return;
    if (it->client) {
        if (it->bus >= 0) it->client->disconnected(bus(it->bus));
        it->client->release();
    }
    instances.erase(it);
    tellListeners();
}

int32_t ObjectsBusManager::registeredCount() const {
    return static_cast<int32_t>(
        std::count_if(instances.begin(), instances.end(), [](const Instance& i) { return i.registered; }));
}

bool ObjectsBusManager::isRegistered(IPlxEditController* controller) {
    const Instance* i = find(controller);
    return i && i->registered;
}

tresult ObjectsBusManager::getBusInfo(int32_t index, ThreeD::ObjectsBusInfo* info) {
    if (!info) return kInvalidArgument;
    RecordingObjectsBus* b = bus(index);
    if (!b || buses[static_cast<size_t>(index)].gone) return kResultFalse;
    *info = {};
    const size_t n = std::min<size_t>(b->name().size(), 127);
    std::copy_n(b->name().begin(), n, info->name);
    info->objectCount = b->getObjectCount();
    info->connectedObjects = renderer ? info->objectCount : 0;
    info->taken =
        std::any_of(instances.begin(), instances.end(), [&](const Instance& i) { return i.bus == index; });
    return kResultOk;
}

tresult ObjectsBusManager::registerInstance(IPlxEditController* controller,
                                            ThreeD::IObjectsBusManagerListener* listener) {
    Instance* i = find(controller);
    if (!i) return kResultFalse;
    i->registered = true;
    i->listener = listener;
    return kResultOk;
}

tresult ObjectsBusManager::unregisterInstance(IPlxEditController* controller) {
    Instance* i = find(controller);
    if (!i) return kResultFalse;
    i->registered = false;
    i->listener = nullptr;
    return kResultOk;
}

tresult ObjectsBusManager::connectBus(IPlxEditController* controller, int32_t index) {
    Instance* i = find(controller);
    if (!i || (index >= 0 && (!bus(index) || buses[static_cast<size_t>(index)].gone))) return kResultFalse;
    if (i->bus == index) return kResultOk;
    if (i->bus >= 0 && i->client) i->client->disconnected(bus(i->bus));
    i->bus = index;
    if (index >= 0 && i->client) i->client->connected(bus(index));
    tellListeners();
    return kResultOk;
}

int32_t ObjectsBusManager::getConnectedBus(IPlxEditController* controller) {
    const Instance* i = find(controller);
    return i ? i->bus : -1;
}

ObjectsBusManager::Instance* ObjectsBusManager::find(IPlxEditController* controller) {
    for (Instance& i : instances)
        if (i.controller == controller) return &i;
    return nullptr;
}

void ObjectsBusManager::tellListeners() {
    // A listener may connect or register in its answer: walk a copy.
    const std::vector<Instance> present = instances;
    for (const Instance& i : present)
        if (i.listener) i.listener->busesChanged(i.bus);
}

} // namespace Tannhofen::Host
