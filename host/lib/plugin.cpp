#include "host/lib/plugin.h"

#include "host/lib/memory_stream.h"

namespace Tannhofen::Host {

using namespace Plx;

namespace {

template <class I>
IPtr<I> create(IPlxFactory* factory, const TUID& cid) {
    void* obj = nullptr;
    if (factory->createInstance(cid, I::iid, &obj) != kResultOk) return {};
    return IPtr<I>::adopt(static_cast<I*>(obj));
}

template <class I>
IPtr<I> query(FUnknown* unknown) {
    return IPtr<I>::adopt(queryInterfaceOf<I>(unknown));
}

} // namespace

std::unique_ptr<Plugin> Plugin::create(IPlxFactory* factory, const FUID& processorClass,
                                       HostApplication* host, std::string* error, MessageObserver observer) {
    auto fail = [&](const char* why) {
        if (error) *error = why;
        return std::unique_ptr<Plugin>();
    };
    if (!factory || !host) return fail("no factory or no host");
    std::unique_ptr<Plugin> plugin(new Plugin);
    plugin->hostPtr = IPtr<HostApplication>(host);
    plugin->handlerPtr = IPtr<ComponentHandler>::adopt(ComponentHandler::create());

    plugin->componentPtr = Host::create<IComponent>(factory, processorClass.toTUID());
    if (!plugin->componentPtr) return fail("the factory can't create the processor");
    plugin->processorPtr = query<IAudioProcessor>(plugin->componentPtr.get());
    if (!plugin->processorPtr) return fail("the processor has no IAudioProcessor");
    if (plugin->componentPtr->initialize(host->unknown()) != kResultOk)
        return fail("the processor's initialize failed");
    plugin->componentInitialized = true;

    TUID controllerClass{};
    if (plugin->componentPtr->getControllerClassId(&controllerClass) != kResultOk)
        return fail("the processor names no controller");
    plugin->controllerPtr = Host::create<IPlxEditController>(factory, controllerClass);
    if (!plugin->controllerPtr) return fail("the factory can't create the controller");
    // The host's object buses join this controller's choice to this processor.
    if (ObjectsBusManager* buses = host->objectsBusManager())
        buses->addInstance(plugin->controllerPtr.get(), plugin->componentPtr.get());
    if (plugin->controllerPtr->initialize(host->unknown()) != kResultOk)
        return fail("the controller's initialize failed");
    plugin->controllerInitialized = true;
    plugin->controllerPtr->setComponentHandler(plugin->handlerPtr.get());

    plugin->processorPoint = query<IConnectionPoint>(plugin->componentPtr.get());
    plugin->controllerPoint = query<IConnectionPoint>(plugin->controllerPtr.get());
    if (plugin->processorPoint && plugin->controllerPoint) {
        plugin->processorPeer = plugin->controllerPoint;
        plugin->controllerPeer = plugin->processorPoint;
        if (observer) {
            auto tap = [&observer](IConnectionPoint* target, bool toController) {
                return IPtr<IConnectionPoint>::adopt(
                    ConnectionTap::create(target, [observer, toController](IMessage* message) {
                        observer(message, toController);
                    }));
            };
            plugin->processorPeer = tap(plugin->controllerPoint.get(), true);
            plugin->controllerPeer = tap(plugin->processorPoint.get(), false);
        }
        plugin->processorPoint->connect(plugin->processorPeer.get());
        plugin->controllerPoint->connect(plugin->controllerPeer.get());
        plugin->connected = true;
    }
    plugin->syncControllerState();
    return plugin;
}

Plugin::~Plugin() {
    if (connected) {
        processorPoint->disconnect(processorPeer.get());
        controllerPoint->disconnect(controllerPeer.get());
    }
    if (controllerPtr) {
        controllerPtr->setComponentHandler(nullptr);
        if (controllerInitialized) controllerPtr->terminate();
        if (ObjectsBusManager* buses = hostPtr ? hostPtr->objectsBusManager() : nullptr)
            buses->removeInstance(controllerPtr.get());
    }
    if (componentPtr && componentInitialized) componentPtr->terminate();
}

tresult Plugin::syncControllerState() {
    IPtr<MemoryStream> stream = IPtr<MemoryStream>::adopt(MemoryStream::create());
    const tresult got = componentPtr->getState(stream.get());
    if (got != kResultOk) return got;
    stream->rewind();
    return controllerPtr->setComponentState(stream.get());
}

} // namespace Tannhofen::Host
