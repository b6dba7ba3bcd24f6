// IPlxHostInfo: the host's product code, which selects a few host-specific
// behaviours. Found by a query on the host context.
#pragma once

#include "frame/funknown.h"

namespace Tannhofen::Plx {

class IPlxHostInfo : public FUnknown {
public:
    virtual tresult getProductCode(int32* code) = 0;
    PLX_INTERFACE_ID(0xD06A0561, 0xA6A940AA, 0x8D677929, 0xF207AA24);

protected:
    ~IPlxHostInfo() = default;
};

} // namespace Tannhofen::Plx
