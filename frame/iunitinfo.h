// IPlxUnitInfo: the controller's units (groups of parameters) and program
// lists, as the host reads them.
#pragma once

#include "frame/funknown.h"

namespace Tannhofen::Plx {

using UnitID = int32;
using ProgramListID = int32;

inline constexpr UnitID kRootUnitId = 0;
inline constexpr UnitID kNoParentUnitId = -1;
inline constexpr ProgramListID kNoProgramListId = -1;

struct UnitInfo {
    UnitID id;
    UnitID parentUnitId;
    char16 name[128];
    ProgramListID programListId;
};

struct ProgramListInfo {
    ProgramListID id;
    char16 name[128];
    int32 programCount;
};

class IPlxUnitInfo : public FUnknown {
public:
    virtual int32 getUnitCount() = 0;
    virtual tresult getUnitInfo(int32 unitIndex, UnitInfo* info) = 0;
    virtual int32 getProgramListCount() = 0;
    virtual tresult getProgramListInfo(int32 listIndex, ProgramListInfo* info) = 0;
    // `name` has room for 128 characters.
    virtual tresult getProgramName(ProgramListID listId, int32 programIndex, char16* name) = 0;
    virtual UnitID getSelectedUnit() = 0;
    virtual tresult selectUnit(UnitID id) = 0;
    PLX_INTERFACE_ID(0xB59C91AD, 0x9055492E, 0x907084E3, 0xCA3D9BE5);

protected:
    ~IPlxUnitInfo() = default;
};

} // namespace Tannhofen::Plx
