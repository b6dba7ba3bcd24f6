// Idle handling: the host's timer service calls each registered IIdleHandler
// on its user-interface thread. A component finds the timer service by a
// query for IPlxTimerService on the host context.
#pragma once

#include "frame/funknown.h"

namespace Tannhofen::Plx {

class IIdleHandler : public FUnknown {
public:
    virtual void onIdle() = 0;
    PLX_INTERFACE_ID(0xD70BBB58, 0xC80545B8, 0xAB826418, 0x0B673A84);

protected:
    ~IIdleHandler() = default;
};

class IPlxTimerService : public FUnknown {
public:
    // The service holds a reference to each handler until it is unregistered.
    virtual tresult registerIdleHandler(IIdleHandler* handler) = 0;
    virtual tresult unregisterIdleHandler(IIdleHandler* handler) = 0;
    PLX_INTERFACE_ID(0x345C84FC, 0x955545F7, 0xB23FFE2F, 0x8C58BEC0);

protected:
    ~IPlxTimerService() = default;
};

} // namespace Tannhofen::Plx
