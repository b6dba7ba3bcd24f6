// IPlxFileSelector: a host's dialog for choosing a file, found by a query on
// the host context. A host that can't show one doesn't answer the query.
#pragma once

#include "frame/funknown.h"

namespace Tannhofen::Plx {

class IPlxFileSelector : public FUnknown {
public:
    // Asks the user for one existing file, showing `title` and one filter
    // (a description and an extension without the dot). On kResultOk `path`
    // holds the chosen file, zero-terminated within `pathCharacters`; any
    // other answer means nothing was chosen.
    virtual tresult selectFile(const char16* title, const char16* filterDescription,
                               const char16* filterExtension, char16* path, uint32 pathCharacters) = 0;
    PLX_INTERFACE_ID(0x2F8C61D0, 0x5B7A4E19, 0x8C3E0A77, 0xD14B92E5);

protected:
    ~IPlxFileSelector() = default;
};

} // namespace Tannhofen::Plx
