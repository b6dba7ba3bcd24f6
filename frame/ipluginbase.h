// IPluginBase: the first two operations of every component and controller.
#pragma once

#include "frame/funknown.h"

namespace Tannhofen::Plx {

class IPluginBase : public FUnknown {
public:
    // `context` is the host's application object (IPlxHostApplication).
    virtual tresult initialize(FUnknown* context) = 0;
    virtual tresult terminate() = 0;
    PLX_INTERFACE_ID(0x22888DDB, 0x156E45AE, 0x8358B348, 0x08190625);

protected:
    ~IPluginBase() = default;
};

} // namespace Tannhofen::Plx
