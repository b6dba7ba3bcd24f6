#include "host/lib/connection_tap.h"

namespace Tannhofen::Host {

using namespace Plx;

tresult ConnectionTap::queryInterface(const TUID& iid, void** obj) {
    if (!obj) return kInvalidArgument;
    PLX_HOST_ANSWER(iid, obj, IConnectionPoint)
    PLX_HOST_ANSWER(iid, obj, FUnknown)
    *obj = nullptr;
    return kNoInterface;
}

tresult ConnectionTap::connect(IConnectionPoint* other) {
    return other ? kResultOk : kInvalidArgument;
}

tresult ConnectionTap::disconnect(IConnectionPoint* other) {
    return other ? kResultOk : kInvalidArgument;
}

tresult ConnectionTap::notify(IMessage* message) {
    if (!message) return kInvalidArgument;
    if (observer) observer(message);
    return target ? target->notify(message) : kResultFalse;
}

} // namespace Tannhofen::Host
