// IComponent: the processor half of a plug-in as the host manages it: its
// controller's class ID, its buses, activation and state.
#pragma once

#include "frame/ipluginbase.h"

namespace Tannhofen::Plx {

class IPlxStream;

enum MediaType : int32 { kAudio = 0, kEvent = 1, kNumMediaTypes = 2 };
enum BusDirection : int32 { kInput = 0, kOutput = 1 };
enum BusType : int32 { kMain = 0, kAux = 1 };
enum BusFlags : uint32 { kDefaultActive = 1u << 0 };

// What the host reads about one bus.
struct BusInfo {
    int32 mediaType;
    int32 direction;
    int32 channelCount;
    char16 name[128];
    int32 busType;
    uint32 flags;
};

struct RoutingInfo {
    int32 mediaType;
    int32 busIndex;
    int32 channel;
};

class IComponent : public IPluginBase {
public:
    virtual tresult getControllerClassId(TUID* classId) = 0;
    virtual tresult setIoMode(int32 mode) = 0;
    virtual int32 getBusCount(int32 type, int32 dir) = 0;
    virtual tresult getBusInfo(int32 type, int32 dir, int32 index, BusInfo* bus) = 0;
    virtual tresult getRoutingInfo(RoutingInfo* inInfo, RoutingInfo* outInfo) = 0;
    virtual tresult activateBus(int32 type, int32 dir, int32 index, TBool state) = 0;
    virtual tresult setActive(TBool state) = 0;
    virtual tresult setState(IPlxStream* state) = 0;
    virtual tresult getState(IPlxStream* state) = 0;
    PLX_INTERFACE_ID(0xE831FF31, 0xF2D54301, 0x928EBBEE, 0x25697802);

protected:
    ~IComponent() = default;
};

} // namespace Tannhofen::Plx
