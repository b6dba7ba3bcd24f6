// IPlugView: an editor window that a controller creates on the host's request.
#pragma once

#include "frame/funknown.h"

namespace Tannhofen::Plx {

struct ViewRect {
    int32 left;
    int32 top;
    int32 right;
    int32 bottom;
};

class IPlugView : public FUnknown {
public:
    virtual tresult attached(void* parent, const char* platformType) = 0;
    virtual tresult removed() = 0;
    virtual tresult getSize(ViewRect* size) = 0;
    virtual tresult onSize(ViewRect* newSize) = 0;
    PLX_INTERFACE_ID(0x2C837479, 0x913E43A6, 0xBFDC8D86, 0x388018D5);

protected:
    ~IPlugView() = default;
};

} // namespace Tannhofen::Plx
