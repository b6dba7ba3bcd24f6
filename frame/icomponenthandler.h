// The host's side of a controller: edits made by the user, restarts, and a
// second interface with further requests.
#pragma once

#include "frame/funknown.h"

namespace Tannhofen::Plx {

// Flags of restartComponent.
enum RestartFlags : int32 {
    kReloadComponent = 1 << 0,
    kIoChanged = 1 << 1, // the bus layout changed
    kParamValuesChanged = 1 << 2,
    kLatencyChanged = 1 << 3,
    kParamTitlesChanged = 1 << 4, // parameter titles or ranges changed
};

class IComponentHandler : public FUnknown {
public:
    virtual tresult beginEdit(ParamID id) = 0;
    virtual tresult performEdit(ParamID id, ParamValue valueNormalized) = 0;
    virtual tresult endEdit(ParamID id) = 0;
    virtual tresult restartComponent(int32 flags) = 0;
    PLX_INTERFACE_ID(0x6A41A237, 0x6B6C49EB, 0x834E259F, 0x45C33129);

protected:
    ~IComponentHandler() = default;
};

class IComponentHandler2 : public FUnknown {
public:
    virtual tresult setDirty(TBool state) = 0;
    virtual tresult requestOpenEditor(const char* name) = 0;
    virtual tresult startGroupEdit() = 0;
    virtual tresult finishGroupEdit() = 0;
    PLX_INTERFACE_ID(0x3AE8E82C, 0xB1C949BD, 0xA07C7305, 0xEA8AD2C3);

protected:
    ~IComponentHandler2() = default;
};

} // namespace Tannhofen::Plx
