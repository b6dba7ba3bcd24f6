#include "frame/editcontroller.h"

#include "frame/text.h"

namespace Tannhofen::Plx {

EditController::~EditController() = default;

tresult EditController::queryInterface(const TUID& iid, void** obj) {
    if (!obj) return kInvalidArgument;
    PLX_QUERY_INTERFACE(iid, obj, IPlxEditController)
    return ComponentBase::queryInterface(iid, obj);
}

tresult EditController::initialize(FUnknown* context) {
    return ComponentBase::initialize(context);
}

tresult EditController::terminate() {
    parameters.removeAll();
    componentHandler.reset();
    componentHandler2.reset();
    return ComponentBase::terminate();
}

tresult EditController::setComponentState(IPlxStream*) {
    return kNotImplemented;
}
tresult EditController::setState(IPlxStream*) {
    return kNotImplemented;
}
tresult EditController::getState(IPlxStream*) {
    return kNotImplemented;
}

int32 EditController::getParameterCount() {
    return parameters.getParameterCount();
}

tresult EditController::getParameterInfoByIndex(int32 index, ParameterInfo* info) {
    Parameter* p = parameters.getParameterByIndex(index);
    if (!info) return kInvalidArgument;
    if (!p) return kResultFalse;
    *info = p->getInfo();
    return kResultOk;
}

tresult EditController::getParameterInfo(ParamID id, ParameterInfo* info) {
    Parameter* p = getParameterObject(id);
    if (!info) return kInvalidArgument;
    if (!p) return kResultFalse;
    *info = p->getInfo();
    return kResultOk;
}

Parameter* EditController::getParameterObject(ParamID id) {
    return parameters.getParameter(id);
}

tresult EditController::getParamStringByValue(ParamID id, ParamValue valueNormalized, char16* string) {
    if (!string) return kInvalidArgument;
    Parameter* p = getParameterObject(id);
    if (!p) return kResultFalse;
    p->toString(valueNormalized, string);
    return kResultOk;
}

tresult EditController::getParamValueByString(ParamID id, const char16* string, ParamValue* valueNormalized) {
    if (!string || !valueNormalized) return kInvalidArgument;
    Parameter* p = getParameterObject(id);
    return p && p->fromString(string, *valueNormalized) ? kResultOk : kResultFalse;
}

ParamValue EditController::normalizedParamToPlain(ParamID id, ParamValue valueNormalized) {
    Parameter* p = getParameterObject(id);
    return p ? p->toPlain(valueNormalized) : valueNormalized;
}

ParamValue EditController::plainParamToNormalized(ParamID id, ParamValue plainValue) {
    Parameter* p = getParameterObject(id);
    return p ? p->toNormalized(plainValue) : plainValue;
}

ParamValue EditController::getParamNormalized(ParamID id) {
    Parameter* p = getParameterObject(id);
    return p ? p->getNormalized() : 0.0;
}

tresult EditController::setParamNormalized(ParamID id, ParamValue value) {
    Parameter* p = getParameterObject(id);
    if (!p) return kResultFalse;
    p->setNormalized(value);
    return kResultOk;
}

tresult EditController::setComponentHandler(IComponentHandler* handler) {
    if (handler == componentHandler.get()) return kResultOk;
    componentHandler = IPtr<IComponentHandler>(handler);
    componentHandler2 = IPtr<IComponentHandler2>::adopt(queryInterfaceOf<IComponentHandler2>(handler));
    return kResultOk;
}

IPlugView* EditController::createView(const char*) {
    return nullptr;
}

tresult EditController::beginEdit(ParamID id) {
    return componentHandler ? componentHandler->beginEdit(id) : kResultFalse;
}

tresult EditController::performEdit(ParamID id, ParamValue valueNormalized) {
    return componentHandler ? componentHandler->performEdit(id, valueNormalized) : kResultFalse;
}

tresult EditController::endEdit(ParamID id) {
    return componentHandler ? componentHandler->endEdit(id) : kResultFalse;
}

tresult EditController::setDirty(TBool state) {
    return componentHandler2 ? componentHandler2->setDirty(state) : kNotImplemented;
}

tresult EditController::requestOpenEditor(const char* name) {
    return componentHandler2 ? componentHandler2->requestOpenEditor(name) : kNotImplemented;
}

tresult EditController::startGroupEdit() {
    return componentHandler2 ? componentHandler2->startGroupEdit() : kNotImplemented;
}

tresult EditController::finishGroupEdit() {
    return componentHandler2 ? componentHandler2->finishGroupEdit() : kNotImplemented;
}

tresult EditController::restartComponent(int32 flags) {
    return componentHandler ? componentHandler->restartComponent(flags) : kResultFalse;
}

Unit::Unit(const char16* name, UnitID id, UnitID parentId, ProgramListID programListId) : info{} {
    info.id = id;
    info.parentUnitId = parentId;
    copyBounded16(info.name, 128, name);
    info.programListId = programListId;
}

ProgramList::ProgramList(const char16* name, ProgramListID id, UnitID unitId)
    : name(name ? name : u""), id(id), unitId(unitId) {}

int32 ProgramList::addProgram(const char16* programName) {
    programs.emplace_back(programName ? programName : u"");
    return static_cast<int32>(programs.size()) - 1;
}

bool ProgramList::getProgramName(int32 index, char16* out) const {
    if (!out || index < 0 || index >= static_cast<int32>(programs.size())) return false;
    copyBounded16(out, 128, programs[static_cast<size_t>(index)].c_str());
    return true;
}

ProgramListInfo ProgramList::getInfo() const {
    ProgramListInfo info{};
    info.id = id;
    copyBounded16(info.name, 128, name.c_str());
    info.programCount = static_cast<int32>(programs.size());
    return info;
}

bool ProgramListWithPitchNames::setPitchName(int32 programIndex, int16 pitch, const char16* pitchName) {
    if (programIndex < 0 || programIndex >= static_cast<int32>(programs.size())) return false;
    if (pitchNames.size() < programs.size()) pitchNames.resize(programs.size());
    auto& names = pitchNames[static_cast<size_t>(programIndex)];
    for (auto& entry : names) {
        if (entry.first == pitch) {
            entry.second = pitchName ? pitchName : u"";
            return true;
        }
    }
    names.emplace_back(pitch, pitchName ? pitchName : u"");
    return true;
}

bool ProgramListWithPitchNames::getPitchName(int32 programIndex, int16 pitch, char16* out) const {
    if (!out || programIndex < 0 || programIndex >= static_cast<int32>(pitchNames.size())) return false;
    for (const auto& entry : pitchNames[static_cast<size_t>(programIndex)]) {
        if (entry.first == pitch) {
            copyBounded16(out, 128, entry.second.c_str());
            return true;
        }
    }
    return false;
}

EditControllerEx1::EditControllerEx1() = default;
EditControllerEx1::~EditControllerEx1() = default;

tresult EditControllerEx1::queryInterface(const TUID& iid, void** obj) {
    if (!obj) return kInvalidArgument;
    PLX_QUERY_INTERFACE(iid, obj, IPlxUnitInfo)
    return EditController::queryInterface(iid, obj);
}

tresult EditControllerEx1::terminate() {
    units.clear();
    programLists.clear();
    return EditController::terminate();
}

bool EditControllerEx1::addUnit(Unit* unit) {
    if (!unit) return false;
    units.push_back(IPtr<Unit>::adopt(unit));
    return true;
}

bool EditControllerEx1::addProgramList(ProgramList* list) {
    if (!list) return false;
    programLists.push_back(IPtr<ProgramList>::adopt(list));
    return true;
}

ProgramList* EditControllerEx1::getProgramList(ProgramListID id) const {
    for (const auto& list : programLists)
        if (list->getID() == id) return list.get();
    return nullptr;
}

tresult EditControllerEx1::getUnitInfo(int32 unitIndex, UnitInfo* info) {
    if (!info || unitIndex < 0 || unitIndex >= getUnitCount()) return kInvalidArgument;
    *info = units[static_cast<size_t>(unitIndex)]->getInfo();
    return kResultOk;
}

tresult EditControllerEx1::getProgramListInfo(int32 listIndex, ProgramListInfo* info) {
    if (!info || listIndex < 0 || listIndex >= getProgramListCount()) return kInvalidArgument;
    *info = programLists[static_cast<size_t>(listIndex)]->getInfo();
    return kResultOk;
}

tresult EditControllerEx1::getProgramName(ProgramListID listId, int32 programIndex, char16* name) {
    if (!name) return kInvalidArgument;
    const ProgramList* list = getProgramList(listId);
    return list && list->getProgramName(programIndex, name) ? kResultOk : kResultFalse;
}

tresult EditControllerEx1::selectUnit(UnitID id) {
    selectedUnit = id;
    return kResultOk;
}

} // namespace Tannhofen::Plx
