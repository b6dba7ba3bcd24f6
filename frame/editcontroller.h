// The controller frame: EditController (parameters, the host's component
// handler, the host-facing parameter operations), and EditControllerEx1 with
// units and program lists.
#pragma once

#include <string>
#include <vector>

#include "frame/componentbase.h"
#include "frame/icomponenthandler.h"
#include "frame/ieditcontroller.h"
#include "frame/iunitinfo.h"
#include "frame/parameter.h"

namespace Tannhofen::Plx {

class EditController : public ComponentBase, public IPlxEditController {
public:
    PLX_OBJ_METHODS(EditController, ComponentBase, "Plx::EditController")
    PLX_REFCOUNT_METHODS(ComponentBase)
    tresult queryInterface(const TUID& iid, void** obj) override;

    // IPluginBase, for both bases. terminate drops the parameters and the
    // component handlers.
    tresult initialize(FUnknown* context) override;
    tresult terminate() override;

    // IPlxEditController
    tresult setComponentState(IPlxStream* state) override;
    tresult setState(IPlxStream* state) override;
    tresult getState(IPlxStream* state) override;
    int32 getParameterCount() override;
    tresult getParameterInfoByIndex(int32 index, ParameterInfo* info) override;
    tresult getParameterInfo(ParamID id, ParameterInfo* info) override;
    tresult getParamStringByValue(ParamID id, ParamValue valueNormalized, char16* string) override;
    tresult getParamValueByString(ParamID id, const char16* string, ParamValue* valueNormalized) override;
    ParamValue normalizedParamToPlain(ParamID id, ParamValue valueNormalized) override;
    ParamValue plainParamToNormalized(ParamID id, ParamValue plainValue) override;
    ParamValue getParamNormalized(ParamID id) override;
    tresult setParamNormalized(ParamID id, ParamValue value) override;
    tresult setComponentHandler(IComponentHandler* handler) override;
    IPlugView* createView(const char* name) override;

    // The parameter of `id`; derived controllers may look further.
    virtual Parameter* getParameterObject(ParamID id);

    // Edits made by the user, forwarded to the host; false without a handler.
    // A controller may open and close further edits around one of its own.
    virtual tresult beginEdit(ParamID id);
    tresult performEdit(ParamID id, ParamValue valueNormalized);
    virtual tresult endEdit(ParamID id);
    // The second handler's requests; not implemented without it.
    tresult setDirty(TBool state);
    tresult requestOpenEditor(const char* name);
    tresult startGroupEdit();
    tresult finishGroupEdit();
    // Asks the host to restart with RestartFlags; false without a handler.
    tresult restartComponent(int32 flags);

    IComponentHandler* getComponentHandler() const { return componentHandler.get(); }

protected:
    EditController() = default;
    ~EditController() override;

    ParameterContainer parameters;
    IPtr<IComponentHandler> componentHandler;
    IPtr<IComponentHandler2> componentHandler2;
};

// A group of parameters, as the host shows it.
class Unit : public FObject {
public:
    PLX_OBJ_METHODS(Unit, FObject, "Plx::Unit")
    Unit(const char16* name, UnitID id, UnitID parentId = kRootUnitId,
         ProgramListID programListId = kNoProgramListId);
    const UnitInfo& getInfo() const { return info; }

protected:
    UnitInfo info;
};

class ProgramList : public FObject {
public:
    PLX_OBJ_METHODS(ProgramList, FObject, "Plx::ProgramList")
    ProgramList(const char16* name, ProgramListID id, UnitID unitId);

    int32 addProgram(const char16* name);
    bool getProgramName(int32 index, char16* name) const;
    ProgramListInfo getInfo() const;
    ProgramListID getID() const { return id; }
    UnitID getUnitID() const { return unitId; }

protected:
    std::u16string name;
    ProgramListID id;
    UnitID unitId;
    std::vector<std::u16string> programs;
};

class ProgramListWithPitchNames : public ProgramList {
public:
    PLX_OBJ_METHODS(ProgramListWithPitchNames, ProgramList, "Plx::ProgramListWithPitchNames")
    using ProgramList::ProgramList;

    bool setPitchName(int32 programIndex, int16 pitch, const char16* pitchName);
    // False when the pitch has no name.
    bool getPitchName(int32 programIndex, int16 pitch, char16* pitchName) const;

protected:
    std::vector<std::vector<std::pair<int16, std::u16string>>> pitchNames; // per program
};

class EditControllerEx1 : public EditController, public IPlxUnitInfo {
public:
    PLX_OBJ_METHODS(EditControllerEx1, EditController, "Plx::EditControllerEx1")
    PLX_REFCOUNT_METHODS(EditController)
    tresult queryInterface(const TUID& iid, void** obj) override;
    tresult terminate() override;

    // Take over the caller's reference.
    bool addUnit(Unit* unit);
    bool addProgramList(ProgramList* list);
    ProgramList* getProgramList(ProgramListID id) const;

    // IPlxUnitInfo
    int32 getUnitCount() override { return static_cast<int32>(units.size()); }
    tresult getUnitInfo(int32 unitIndex, UnitInfo* info) override;
    int32 getProgramListCount() override { return static_cast<int32>(programLists.size()); }
    tresult getProgramListInfo(int32 listIndex, ProgramListInfo* info) override;
    tresult getProgramName(ProgramListID listId, int32 programIndex, char16* name) override;
    UnitID getSelectedUnit() override { return selectedUnit; }
    tresult selectUnit(UnitID id) override;

protected:
    EditControllerEx1();
    ~EditControllerEx1() override;

    std::vector<IPtr<Unit>> units;
    std::vector<IPtr<ProgramList>> programLists;
    UnitID selectedUnit = kRootUnitId;
};

} // namespace Tannhofen::Plx
