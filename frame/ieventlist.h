// IPlxEventList: note and controller events of one block. No effect of this
// module takes events; the list exists so that process data is complete.
#pragma once

#include "frame/funknown.h"

namespace Tannhofen::Plx {

struct PlxEvent {
    int32 busIndex;
    int32 sampleOffset;
    double ppqPosition;
    uint16 flags;
    uint16 type;
    int32 data[6];
};

class IPlxEventList : public FUnknown {
public:
    virtual int32 getEventCount() = 0;
    virtual tresult getEvent(int32 index, PlxEvent* event) = 0;
    virtual tresult addEvent(const PlxEvent* event) = 0;
    PLX_INTERFACE_ID(0x8D98B2DE, 0x09C741A5, 0xAC6F72B6, 0x5D28D043);

protected:
    ~IPlxEventList() = default;
};

} // namespace Tannhofen::Plx
