#include "frame/component.h"

#include <new>

namespace Tannhofen::Plx {

Component::~Component() = default;

tresult Component::queryInterface(const TUID& iid, void** obj) {
    if (!obj) return kInvalidArgument;
    PLX_QUERY_INTERFACE(iid, obj, IComponent)
    return ComponentBase::queryInterface(iid, obj);
}

tresult Component::initialize(FUnknown* context) {
    return ComponentBase::initialize(context);
}

tresult Component::terminate() {
    removeAllBusses();
    return ComponentBase::terminate();
}

tresult Component::getControllerClassId(TUID* classId) {
    if (!classId) return kInvalidArgument;
    if (!controllerClass.isValid()) return kResultFalse;
    *classId = controllerClass.toTUID();
    return kResultOk;
}

tresult Component::setIoMode(int32) {
    return kNotImplemented;
}

BusList* Component::getBusList(int32 type, int32 dir) {
    if (type == kAudio) return dir == kInput ? &audioInputs : dir == kOutput ? &audioOutputs : nullptr;
    if (type == kEvent) return dir == kInput ? &eventInputs : dir == kOutput ? &eventOutputs : nullptr;
    return nullptr;
}

int32 Component::getBusCount(int32 type, int32 dir) {
    const BusList* list = getBusList(type, dir);
    return list ? list->size() : 0;
}

tresult Component::getBusInfo(int32 type, int32 dir, int32 index, BusInfo* bus) {
    BusList* list = getBusList(type, dir);
    Bus* b = list ? list->at(index) : nullptr;
    if (!b || !bus) return kInvalidArgument;
    bus->mediaType = type;
    bus->direction = dir;
    return b->getInfo(*bus) ? kResultOk : kResultFalse;
}

tresult Component::getRoutingInfo(RoutingInfo*, RoutingInfo*) {
    return kNotImplemented;
}

tresult Component::activateBus(int32 type, int32 dir, int32 index, TBool state) {
    BusList* list = getBusList(type, dir);
    Bus* b = list ? list->at(index) : nullptr;
    if (!b) return kInvalidArgument;
    b->setActive(state != 0);
    return kResultOk;
}

tresult Component::setActive(TBool) {
    return kResultOk;
}
tresult Component::setState(IPlxStream*) {
    return kResultOk;
}
tresult Component::getState(IPlxStream*) {
    return kResultOk;
}

EventBus* Component::addEventInput(const char16* name, int32 channels, int32 busType, int32 flags) {
    auto* bus = new EventBus(name, busType, flags, channels);
    eventInputs.append(bus);
    return bus;
}

EventBus* Component::addEventOutput(const char16* name, int32 channels, int32 busType, int32 flags) {
    auto* bus = new EventBus(name, busType, flags, channels);
    eventOutputs.append(bus);
    return bus;
}

tresult Component::removeAllBusses() {
    audioInputs.clear();
    audioOutputs.clear();
    eventInputs.clear();
    eventOutputs.clear();
    return kResultOk;
}

} // namespace Tannhofen::Plx
