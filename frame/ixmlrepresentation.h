// IPlxXmlRepresentationController: a controller's answer to the host's request
// for a remote map, the XML document that lays the plug-in's parameters out
// for a hardware controller.
#pragma once

#include "frame/funknown.h"

namespace Tannhofen::Plx {

class IPlxStream;

// The representation that the host asks for: fixed-size 8-bit text fields,
// zero-terminated unless full. `host` may be empty.
struct RepresentationInfo {
    char8 vendor[64];
    char8 name[64];
    char8 version[64];
    char8 host[64];
};

class IPlxXmlRepresentationController : public FUnknown {
public:
    // Writes the whole document into `stream`; kInvalidArgument without one.
    virtual tresult getXmlRepresentationSource(RepresentationInfo& info, IPlxStream* stream) = 0;
    PLX_INTERFACE_ID(0x6B2F41C3, 0x0E9D4A57, 0x93C1D5A8, 0x2F7B16E4);

protected:
    ~IPlxXmlRepresentationController() = default;
};

} // namespace Tannhofen::Plx
