#include "panner/objects_client.h"

#include <algorithm>
#include <cmath>

namespace Tannhofen::Panner {

using Plx::tresult;
using ThreeD::IObjectControl;
using ThreeD::IObjectsBus;

tresult ObjectsClient::queryInterface(const Plx::TUID& iid, void** obj) {
    if (!obj) return Plx::kInvalidArgument;
    if (Plx::equalTUID(iid, ThreeD::IObjectsBusClient::iid)) {
        addRef();
        *obj = static_cast<ThreeD::IObjectsBusClient*>(this);
        return Plx::kResultOk;
    }
    *obj = nullptr;
    return Plx::kNoInterface;
}

uint32_t ObjectsClient::addRef() {
    return static_cast<uint32_t>(++refCount);
}

uint32_t ObjectsClient::release() {
    const int32_t left = --refCount;
    if (left == 0) {
        refCount = -1000;
        delete this;
        return 0;
    }
    return static_cast<uint32_t>(left);
}

void ObjectsClient::destroy() {
    bus.store(nullptr);
    listener.store(nullptr);
}

bool ObjectsClient::connected(IObjectsBus* newBus) {
    bus.store(newBus);
    if (newBus) {
        // An input with LFE has one channel more than the bus has objects; a
        // smaller bus steers the first channels only.
        const int32_t extra = indexCount.load() - newBus->getObjectCount();
        if (extra > 0) trim(extra);
    }
    if (IAssignListener* l = listener.load()) l->onAssign();
    return true;
}

bool ObjectsClient::disconnected(IObjectsBus* oldBus) {
    IObjectsBus* present = bus.load();
    if (!oldBus || oldBus != present) return false;
    const int32_t objects = present->getObjectCount();
    if (objects <= indexCount.load()) {
        for (int32_t i = 0; i < objects; ++i) {
            ThreeD::IObjectHolder* holder = present->getObject(objectIndex(i));
            if (!holder) break;
            if (IObjectControl* control = holder->getControl())
                control->setEnabled(false, ThreeD::kEnableValue);
        }
    }
    bus.store(nullptr);
    return true;
}

bool ObjectsClient::busGone() {
    bus.store(nullptr);
    return true;
}

template <class Send>
bool ObjectsClient::forEachObject(int32_t limit, bool needActive, Send send) {
    IObjectsBus* present = bus.load();
    if (!present || (needActive && !isActive())) return false;
    const int32_t objects = present->getObjectCount();
    const int32_t entries = indexCount.load();
    if (objects > entries) return false;
    const int32_t n = std::min(objects, limit);
    for (int32_t i = 0; i < n; ++i) {
        ThreeD::IObjectHolder* holder = present->getObject(objectIndex(i));
        if (!holder) return false;
        if (IObjectControl* control = holder->getControl()) send(*control, i);
    }
    return true;
}

bool ObjectsClient::setEnabled(bool flag) {
    return forEachObject(kMaxChannels, false,
                         [&](IObjectControl& c, int32_t) { c.setEnabled(flag, ThreeD::kEnableValue); });
}

bool ObjectsClient::setZoneMode(double normalized) {
    const double v = std::isfinite(normalized) ? std::clamp(normalized, 0.0, 1.0) : 0.0;
    const auto zones = static_cast<int32_t>(v * 5.0 + 0.5);
    return forEachObject(kMaxChannels, true, [&](IObjectControl& c, int32_t) { c.setZones(zones); });
}

bool ObjectsClient::setSnap(bool flag) {
    return forEachObject(kMaxChannels, true, [&](IObjectControl& c, int32_t) { c.setSnap(flag); });
}

bool ObjectsClient::setSize(float value) {
    return forEachObject(kMaxChannels, true, [&](IObjectControl& c, int32_t) { c.setSize(value); });
}

bool ObjectsClient::setElevationOn(bool flag) {
    return forEachObject(kMaxChannels, true, [&](IObjectControl& c, int32_t) { c.setElevationOn(flag); });
}

bool ObjectsClient::setPositions(const std::array<float, 3>* positions, int32_t count) {
    if (!positions || count <= 0) return false;
    return forEachObject(count, true, [&](IObjectControl& c, int32_t i) {
        const std::array<float, 3> p = objectMapping.map(positions[i]);
        c.setPosition(p[0], p[1], p[2]);
    });
}

bool ObjectsClient::setRenderMode(int32_t mode) {
    int32_t sent = 1;
    switch (mode) {
    case 1: sent = 2; break;
    case 2: sent = 4; break;
    case 3: sent = 3; break;
    default: break;
    }
    return forEachObject(kMaxChannels, true, [&](IObjectControl& c, int32_t) { c.setRenderMode(sent); });
}

bool ObjectsClient::setTouched(bool flag) {
    return forEachObject(kMaxChannels, true,
                         [&](IObjectControl& c, int32_t) { c.setTouched(ThreeD::kTouchPosition, flag); });
}

void ObjectsClient::setChannelMap(std::span<const int32_t> map) {
    const auto n = static_cast<int32_t>(std::min<size_t>(map.size(), kMaxChannels));
    for (int32_t i = 0; i < n; ++i) objectIndices[i].store(map[i], std::memory_order_relaxed);
    indexCount.store(n);
    if (IObjectsBus* present = bus.load()) {
        const int32_t extra = n - present->getObjectCount();
        if (extra > 0) trim(extra);
    }
}

void ObjectsClient::trim(int32_t k) {
    int32_t n = indexCount.load();
    for (; k > 0 && n > 0; --k) {
        const int32_t removed = objectIndex(n - 1);
        indexCount.store(--n);
        for (int32_t i = 0; i < n; ++i) {
            const int32_t v = objectIndex(i);
            if (v > removed) objectIndices[i].store(v - 1, std::memory_order_relaxed);
        }
    }
}

} // namespace Tannhofen::Panner
