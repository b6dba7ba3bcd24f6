#include "host/lib/component_handler.h"

namespace Tannhofen::Host {

using namespace Plx;

tresult ComponentHandler::queryInterface(const TUID& iid, void** obj) {
    if (!obj) return kInvalidArgument;
    PLX_HOST_ANSWER(iid, obj, IComponentHandler)
    PLX_HOST_ANSWER(iid, obj, IComponentHandler2)
    if (equalTUID(iid, FUnknown::iid)) {
        addRef();
        *obj = static_cast<FUnknown*>(static_cast<IComponentHandler*>(this));
        return kResultOk;
    }
    *obj = nullptr;
    return kNoInterface;
}

tresult ComponentHandler::beginEdit(ParamID id) {
    edits.push_back({EditKind::Begin, id, 0.0});
    return kResultOk;
}

tresult ComponentHandler::performEdit(ParamID id, ParamValue valueNormalized) {
    edits.push_back({EditKind::Perform, id, valueNormalized});
    return kResultOk;
}

tresult ComponentHandler::endEdit(ParamID id) {
    edits.push_back({EditKind::End, id, 0.0});
    return kResultOk;
}

tresult ComponentHandler::restartComponent(int32_t flags) {
    restarts.push_back(flags);
    return kResultOk;
}

tresult ComponentHandler::setDirty(TBool state) {
    dirty = state != 0;
    return kResultOk;
}

tresult ComponentHandler::requestOpenEditor(const char*) {
    return kResultOk;
}

tresult ComponentHandler::startGroupEdit() {
    ++openGroupEdits;
    return kResultOk;
}

tresult ComponentHandler::finishGroupEdit() {
    if (openGroupEdits == 0) return kResultFalse;
    --openGroupEdits;
    return kResultOk;
}

} // namespace Tannhofen::Host
