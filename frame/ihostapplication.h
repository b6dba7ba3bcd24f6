// IPlxHostApplication: the host context handed to initialize. It names the
// host and creates objects for the plug-in: messages (IMessage::iid as class
// ID) and attribute lists (IPlxAttributes::iid).
#pragma once

#include "frame/funknown.h"

namespace Tannhofen::Plx {

class IPlxHostApplication : public FUnknown {
public:
    // `name` has room for 128 characters.
    virtual tresult getName(char16* name) = 0;
    virtual tresult createInstance(const TUID& cid, const TUID& iid, void** obj) = 0;
    PLX_INTERFACE_ID(0x5DB0E0D8, 0x776B43A7, 0x9E1767FE, 0x0A2246CE);

protected:
    ~IPlxHostApplication() = default;
};

} // namespace Tannhofen::Plx
