// ISurroundContext: the host's record of what its surround plug-ins are set
// up for, one attribute list per plug-in kind ("RadialPannerPlugin"). A
// controller writes its layouts there so that the host's own surround views
// can follow them.
#pragma once

#include "frame/iattributes.h"

namespace Tannhofen::Plx {

class ISurroundContext : public FUnknown {
public:
    // The attribute list of `section`, kept by the host; null when it has none.
    virtual IPlxAttributes* getAttributes(const char* section) = 0;
    PLX_INTERFACE_ID(0x51A7C3E2, 0x0B6E4D19, 0x8F2A7C45, 0xD39E1B60);

protected:
    ~ISurroundContext() = default;
};

} // namespace Tannhofen::Plx
