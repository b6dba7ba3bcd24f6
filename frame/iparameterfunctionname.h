// IParameterFunctionName: the host finds a plug-in's parameter by its purpose
// ("PanPosCenterX") rather than by id, to map its own panner controls.
#pragma once

#include "frame/funknown.h"

namespace Tannhofen::Plx {

class IParameterFunctionName : public FUnknown {
public:
    // The parameter of `functionName` in unit `unitId`; an unknown name
    // answers false with 1024 in `paramId`.
    virtual tresult getParameterIDFromFunctionName(int32 unitId, const char* functionName,
                                                   ParamID* paramId) = 0;
    PLX_INTERFACE_ID(0x6D21E1DC, 0x91199D4B, 0xA2A02FEF, 0x6C1AE55C);

protected:
    ~IParameterFunctionName() = default;
};

} // namespace Tannhofen::Plx
