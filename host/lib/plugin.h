// Plugin: one plug-in instance as a host runs it: the processor, its
// controller (created from the processor's controller class ID), both
// initialized with the same host context and connected to each other, the
// controller given a recording ComponentHandler and the processor's state.
// The destructor takes the pair down in the reverse order. With an observer,
// the two are connected through ConnectionTaps that show it every message.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "frame/iaudioprocessor.h"
#include "frame/icomponent.h"
#include "frame/iconnectionpoint.h"
#include "frame/ieditcontroller.h"
#include "frame/ifactory.h"
#include "host/lib/component_handler.h"
#include "host/lib/connection_tap.h"
#include "host/lib/host_application.h"

namespace Tannhofen::Host {

class Plugin {
public:
    // Sees a message before its receiver does; `toController` tells its direction.
    using MessageObserver = std::function<void(Plx::IMessage* message, bool toController)>;

    // Null with *error set when a step fails; what was built is taken down.
    static std::unique_ptr<Plugin> create(Plx::IPlxFactory* factory, const Plx::FUID& processorClass,
                                          HostApplication* host, std::string* error = nullptr,
                                          MessageObserver observer = {});
    ~Plugin();
    Plugin(const Plugin&) = delete;
    Plugin& operator=(const Plugin&) = delete;

    Plx::IComponent* component() const { return componentPtr.get(); }
    Plx::IAudioProcessor* processor() const { return processorPtr.get(); }
    Plx::IPlxEditController* controller() const { return controllerPtr.get(); }
    ComponentHandler* handler() const { return handlerPtr.get(); }
    HostApplication* host() const { return hostPtr.get(); }

    // Hands the processor's state to the controller (getState, then
    // setComponentState), as a host does after loading a project.
    Plx::tresult syncControllerState();

private:
    Plugin() = default;
    Plx::IPtr<HostApplication> hostPtr;
    Plx::IPtr<ComponentHandler> handlerPtr;
    Plx::IPtr<Plx::IComponent> componentPtr;
    Plx::IPtr<Plx::IAudioProcessor> processorPtr;
    Plx::IPtr<Plx::IPlxEditController> controllerPtr;
    Plx::IPtr<Plx::IConnectionPoint> processorPoint;
    Plx::IPtr<Plx::IConnectionPoint> controllerPoint;
    // With an observer: the peer given to each side, in place of the other side.
    Plx::IPtr<Plx::IConnectionPoint> processorPeer;
    Plx::IPtr<Plx::IConnectionPoint> controllerPeer;
    bool componentInitialized = false;
    bool controllerInitialized = false;
    bool connected = false;
};

} // namespace Tannhofen::Host
