// IPlxEditController: the controller half of a plug-in as the host sees it.
// Every parameter operation can be reached by parameter id; hosts enumerate
// parameters by index through getParameterInfoByIndex.
#pragma once

#include "frame/ipluginbase.h"

namespace Tannhofen::Plx {

class IPlxStream;
class IComponentHandler;
class IPlugView;

using String128 = char16[128];

// What the host reads about one parameter.
struct ParameterInfo {
    enum Flags : int32 {
        kNoFlags = 0,
        kCanAutomate = 1 << 0,
        kIsReadOnly = 1 << 1,
        kIsWrapAround = 1 << 2,
        kIsList = 1 << 3,
        kIsHidden = 1 << 4,
        kIsProgramChange = 1 << 15,
        kIsBypass = 1 << 16,
    };
    ParamID id;
    String128 title;
    String128 shortTitle;
    String128 units;
    int32 stepCount;
    ParamValue defaultNormalizedValue;
    int32 unitId;
    int32 flags;
};

class IPlxEditController : public IPluginBase {
public:
    // The processor's state, so that the controller can follow it.
    virtual tresult setComponentState(IPlxStream* state) = 0;
    virtual tresult setState(IPlxStream* state) = 0;
    virtual tresult getState(IPlxStream* state) = 0;
    virtual int32 getParameterCount() = 0;
    virtual tresult getParameterInfoByIndex(int32 index, ParameterInfo* info) = 0;
    virtual tresult getParameterInfo(ParamID id, ParameterInfo* info) = 0;
    // `string` has room for 128 characters.
    virtual tresult getParamStringByValue(ParamID id, ParamValue valueNormalized, char16* string) = 0;
    virtual tresult getParamValueByString(ParamID id, const char16* string, ParamValue* valueNormalized) = 0;
    virtual ParamValue normalizedParamToPlain(ParamID id, ParamValue valueNormalized) = 0;
    virtual ParamValue plainParamToNormalized(ParamID id, ParamValue plainValue) = 0;
    virtual ParamValue getParamNormalized(ParamID id) = 0;
    virtual tresult setParamNormalized(ParamID id, ParamValue value) = 0;
    virtual tresult setComponentHandler(IComponentHandler* handler) = 0;
    // A new view with one reference for the caller, or null.
    virtual IPlugView* createView(const char* name) = 0;
    PLX_INTERFACE_ID(0xAFA4CD0A, 0x19F544B8, 0x9BD5C198, 0x43B446F4);

protected:
    ~IPlxEditController() = default;
};

} // namespace Tannhofen::Plx
