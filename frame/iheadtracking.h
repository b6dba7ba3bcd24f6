// IPlxHeadTracking: a host's head-tracking service, found by a query on the
// host context. A registered receiver gets the listener's head orientation as
// three angles in radians, possibly on the service's own thread. A host that
// has no tracker doesn't answer the query.
#pragma once

#include "frame/funknown.h"

namespace Tannhofen::Plx {

class IHeadTrackingReceiver {
public:
    // Yaw and roll in -pi..pi, pitch in -pi/2..pi/2; positive yaw turns the
    // head to the left, positive pitch raises it.
    virtual void onHeadOrientation(float yaw, float pitch, float roll) = 0;

protected:
    ~IHeadTrackingReceiver() = default;
};

class IPlxHeadTracking : public FUnknown {
public:
    // The service keeps the pointer until unregisterReceiver.
    virtual tresult registerReceiver(IHeadTrackingReceiver* receiver) = 0;
    virtual tresult unregisterReceiver(IHeadTrackingReceiver* receiver) = 0;
    PLX_INTERFACE_ID(0x6E1B2C47, 0x93D04F8A, 0xB2A5715C, 0x0E9D4A63);

protected:
    ~IPlxHeadTracking() = default;
};

} // namespace Tannhofen::Plx
