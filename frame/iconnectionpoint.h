// IConnectionPoint: how a processor and its controller reach each other. The
// host connects the two; afterwards they exchange IMessage objects only.
#pragma once

#include "frame/funknown.h"

namespace Tannhofen::Plx {

class IMessage;

class IConnectionPoint : public FUnknown {
public:
    virtual tresult connect(IConnectionPoint* other) = 0;
    virtual tresult disconnect(IConnectionPoint* other) = 0;
    virtual tresult notify(IMessage* message) = 0;
    PLX_INTERFACE_ID(0x70A4156F, 0x6E6E4026, 0x989148BF, 0xAA60D8D1);

protected:
    ~IConnectionPoint() = default;
};

} // namespace Tannhofen::Plx
