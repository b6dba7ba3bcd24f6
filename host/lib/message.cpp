#include "host/lib/message.h"

namespace Tannhofen::Host {

using namespace Plx;

tresult HostMessage::queryInterface(const TUID& iid, void** obj) {
    if (!obj) return kInvalidArgument;
    PLX_HOST_ANSWER(iid, obj, IMessage)
    PLX_HOST_ANSWER(iid, obj, FUnknown)
    *obj = nullptr;
    return kNoInterface;
}

void HostMessage::setMessageID(const char* newId) {
    if (newId)
        id = newId;
    else
        id.reset();
}

} // namespace Tannhofen::Host
