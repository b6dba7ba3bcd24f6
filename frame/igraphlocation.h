// IGraphLocation: the host tells a processor where it sits in the mixer's
// signal graph; kind 4 is the panner slot.
#pragma once

#include "frame/funknown.h"

namespace Tannhofen::Plx {

class IGraphLocation : public FUnknown {
public:
    static constexpr int32 kPannerSlot = 4;
    virtual tresult setGraphLocation(int32 location, int32 kind) = 0;
    PLX_INTERFACE_ID(0x181A0AF6, 0xA10947BA, 0x8A6F7C7C, 0x3FF37129);

protected:
    ~IGraphLocation() = default;
};

} // namespace Tannhofen::Plx
