// Parameter changes within one audio block: one queue of points (sample
// offset, normalized value) per parameter, sorted by offset.
#pragma once

#include "frame/funknown.h"

namespace Tannhofen::Plx {

class IParamValueQueue : public FUnknown {
public:
    virtual ParamID getParameterId() = 0;
    virtual int32 getPointCount() = 0;
    virtual tresult getPoint(int32 index, int32* sampleOffset, ParamValue* value) = 0;
    // Adds or replaces the point at sampleOffset; *index (may be null) tells where.
    virtual tresult addPoint(int32 sampleOffset, ParamValue value, int32* index) = 0;
    PLX_INTERFACE_ID(0x771720F9, 0x3CC541A6, 0x93273634, 0x600B86D8);

protected:
    ~IParamValueQueue() = default;
};

class IPlxParameterChanges : public FUnknown {
public:
    virtual int32 getParameterCount() = 0;
    // Owned by the changes; no reference is added. Null for a bad index.
    virtual IParamValueQueue* getParameterData(int32 index) = 0;
    // The queue of `id`, created when missing; *index (may be null) tells its place.
    virtual IParamValueQueue* addParameterData(ParamID id, int32* index) = 0;
    PLX_INTERFACE_ID(0xA9CC32DE, 0x0AC9452C, 0xB8826338, 0xF4D65084);

protected:
    ~IPlxParameterChanges() = default;
};

} // namespace Tannhofen::Plx
