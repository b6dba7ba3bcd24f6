// ConnectionTap: a host-side connection point that a host puts between a
// processor and its controller. It forwards every message to the other side
// unchanged and shows it to an observer first, the way a host that logs or
// inspects the traffic between the two halves does.
#pragma once

#include <functional>

#include "frame/iconnectionpoint.h"
#include "frame/imessage.h"
#include "host/lib/ref_counted.h"

namespace Tannhofen::Host {

class ConnectionTap final : public RefCounted, public Plx::IConnectionPoint {
public:
    using Observer = std::function<void(Plx::IMessage*)>;

    // Forwards to `target` (holding a reference) and calls `observer` first.
    static ConnectionTap* create(Plx::IConnectionPoint* target, Observer observer) {
        return new ConnectionTap(target, std::move(observer));
    }

    Plx::tresult queryInterface(const Plx::TUID& iid, void** obj) override;
    PLX_HOST_REFCOUNT

    // The plug-in side connects and disconnects the tap like any peer.
    Plx::tresult connect(Plx::IConnectionPoint* other) override;
    Plx::tresult disconnect(Plx::IConnectionPoint* other) override;
    Plx::tresult notify(Plx::IMessage* message) override;

private:
    ConnectionTap(Plx::IConnectionPoint* target, Observer observer)
        : target(target), observer(std::move(observer)) {}
    Plx::IPtr<Plx::IConnectionPoint> target;
    Observer observer;
};

} // namespace Tannhofen::Host
