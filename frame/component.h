// Component: a ComponentBase with the controller's class ID and four bus
// lists (audio and event, input and output), and default answers to the
// host's calls that a plug-in doesn't care about.
#pragma once

#include "frame/bus.h"
#include "frame/componentbase.h"
#include "frame/icomponent.h"

namespace Tannhofen::Plx {

class Component : public ComponentBase, public IComponent {
public:
    PLX_OBJ_METHODS(Component, ComponentBase, "Plx::Component")
    PLX_REFCOUNT_METHODS(ComponentBase)
    tresult queryInterface(const TUID& iid, void** obj) override;

    // IPluginBase, for both bases. terminate also removes all buses.
    tresult initialize(FUnknown* context) override;
    tresult terminate() override;

    // IComponent
    tresult getControllerClassId(TUID* classId) override;
    tresult setIoMode(int32 mode) override;
    int32 getBusCount(int32 type, int32 dir) override;
    tresult getBusInfo(int32 type, int32 dir, int32 index, BusInfo* bus) override;
    tresult getRoutingInfo(RoutingInfo* inInfo, RoutingInfo* outInfo) override;
    tresult activateBus(int32 type, int32 dir, int32 index, TBool state) override;
    tresult setActive(TBool state) override;
    tresult setState(IPlxStream* state) override;
    tresult getState(IPlxStream* state) override;

    void setControllerClass(const FUID& cid) { controllerClass = cid; }
    const FUID& getControllerClass() const { return controllerClass; }

    // Appends an event bus; the list keeps it.
    EventBus* addEventInput(const char16* name, int32 channels = 16, int32 busType = kMain,
                            int32 flags = kDefaultActive);
    EventBus* addEventOutput(const char16* name, int32 channels = 16, int32 busType = kMain,
                             int32 flags = kDefaultActive);
    tresult removeAllBusses();

    // The list of a media type and direction; null for unknown ones.
    BusList* getBusList(int32 type, int32 dir);

protected:
    Component() = default;
    ~Component() override;

    FUID controllerClass;
    BusList audioInputs{kAudio, kInput};
    BusList audioOutputs{kAudio, kOutput};
    BusList eventInputs{kEvent, kInput};
    BusList eventOutputs{kEvent, kOutput};
};

} // namespace Tannhofen::Plx
