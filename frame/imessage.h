// IMessage: what a processor and its controller send each other: an 8-bit
// message ID and a list of attributes. The host creates messages.
#pragma once

#include "frame/iattributes.h"

namespace Tannhofen::Plx {

class IMessage : public FUnknown {
public:
    // Null until an ID is set.
    virtual const char* getMessageID() = 0;
    virtual void setMessageID(const char* id) = 0;
    // Owned by the message; no reference is added.
    virtual IPlxAttributes* getAttributes() = 0;
    PLX_INTERFACE_ID(0xAF7D2A36, 0x2E034AE4, 0x9F284655, 0xC8E9492B);

protected:
    ~IMessage() = default;
};

} // namespace Tannhofen::Plx
