#include "frame/fobject.h"

#include <algorithm>

namespace Tannhofen::Plx {

tresult FObject::queryInterface(const TUID& iid, void** obj) {
    if (!obj) return kInvalidArgument;
    PLX_QUERY_INTERFACE(iid, obj, IDependent)
    PLX_QUERY_INTERFACE(iid, obj, FObject)
    if (equalTUID(iid, FUnknown::iid)) {
        addRef();
        *obj = static_cast<FUnknown*>(static_cast<IDependent*>(this));
        return kResultOk;
    }
    *obj = nullptr;
    return kNoInterface;
}

uint32 FObject::addRef() {
    return static_cast<uint32>(++refCount);
}

uint32 FObject::release() {
    const int32 count = --refCount;
    if (count == 0) {
        refCount = kDestroyingCount;
        delete this;
        return 0;
    }
    return static_cast<uint32>(count);
}

void FObject::update(FUnknown*, int32) {}

FObject::~FObject() = default;

bool FObject::isTypeOf(const char* name, bool) const {
    return classIDsEqual(name, getFClassID());
}

void FObject::addDependent(IDependent* dependent) {
    if (dependent && std::find(dependents.begin(), dependents.end(), dependent) == dependents.end())
        dependents.push_back(dependent);
}

void FObject::removeDependent(IDependent* dependent) {
    dependents.erase(std::remove(dependents.begin(), dependents.end(), dependent), dependents.end());
}

void FObject::changed(int32 message) {
    if (dependents.empty()) return;
    // A dependent may remove itself while it is told.
    const std::vector<IDependent*> told = dependents;
    for (IDependent* dependent : told) dependent->update(static_cast<IDependent*>(this), message);
}

void FObject::deferUpdate(int32 message) {
    changed(message);
    updateDone(message);
}

void FObject::updateDone(int32) {}

} // namespace Tannhofen::Plx
