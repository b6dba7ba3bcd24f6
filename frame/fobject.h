// FObject: the reference-counted base of the frame's classes, with a run-time
// class name and a list of dependents that are told about changes.
//
// Class-name casts go through isTypeOf(name, askBaseClass), which compares
// plain strings with the class's own name and, on request, with each base
// class's name up to "FObject". Every frame class declares its name with
// PLX_OBJ_METHODS.
#pragma once

#include <atomic>
#include <cstring>
#include <vector>

#include "frame/funknown.h"

namespace Tannhofen::Plx {

// Told by an object it depends on that the object has changed.
class IDependent : public FUnknown {
public:
    enum ChangeMessage : int32 { kWillChange = 0, kChanged = 1, kDestroyed = 2, kWillDestroy = 3 };
    virtual void update(FUnknown* changedUnknown, int32 message) = 0;
    PLX_INTERFACE_ID(0xBC8E7FDB, 0xA96E40E1, 0x8E65181F, 0x98895883);

protected:
    ~IDependent() = default;
};

class FObject : public IDependent {
public:
    // The count that an object has while its destructor runs, so that a
    // release from inside the destructor can't free it a second time.
    static constexpr int32 kDestroyingCount = -1000;

    FObject() = default;
    FObject(const FObject&) = delete;
    FObject& operator=(const FObject&) = delete;

    // Answers FUnknown, IDependent and FObject itself.
    tresult queryInterface(const TUID& iid, void** obj) override;
    uint32 addRef() override;
    uint32 release() override;
    void update(FUnknown* changedUnknown, int32 message) override;

    virtual ~FObject();

    virtual bool isA(const char* name) const { return isTypeOf(name, false); }
    virtual const char* getClassName() const { return getFClassID(); }
    virtual bool isTypeOf(const char* name, bool askBaseClass = true) const;

    // Dependents: non-owning; each is told by update(this, message).
    virtual void addDependent(IDependent* dependent);
    virtual void removeDependent(IDependent* dependent);
    virtual void changed(int32 message = kChanged);
    // The frame keeps no update queue of its own, so a deferred change is
    // delivered at once, followed by updateDone.
    virtual void deferUpdate(int32 message = kChanged);
    virtual void updateDone(int32 message);

    int32 getRefCount() const { return refCount.load(); }
    int32 countDependents() const { return static_cast<int32>(dependents.size()); }

    static const char* getFClassID() { return "FObject"; }
    static bool classIDsEqual(const char* a, const char* b) { return a && b && std::strcmp(a, b) == 0; }

    PLX_INTERFACE_ID(0x230DB1B9, 0x79184669, 0xBACCC9C6, 0x92DF1568);

private:
    std::atomic<int32> refCount{1};
    std::vector<IDependent*> dependents;
};

// Declares the run-time class name of a frame class; BaseClass is its FObject
// base (the chain of isTypeOf).
#define PLX_OBJ_METHODS(ClassName, BaseClass, NameString)                      \
    static const char* getFClassID() {                                         \
        return NameString;                                                     \
    }                                                                          \
    const char* getClassName() const override {                                \
        return NameString;                                                     \
    }                                                                          \
    bool isA(const char* name) const override {                                \
        return isTypeOf(name, false);                                          \
    }                                                                          \
    bool isTypeOf(const char* name, bool askBaseClass = true) const override { \
        return ::Tannhofen::Plx::FObject::classIDsEqual(name, NameString) ||   \
               (askBaseClass && BaseClass::isTypeOf(name, true));              \
    }

// Answers `iid` with this object's Interface face, adding a reference.
#define PLX_QUERY_INTERFACE(iidArg, objArg, Interface)         \
    if (::Tannhofen::Plx::equalTUID(iidArg, Interface::iid)) { \
        addRef();                                              \
        *(objArg) = static_cast<Interface*>(this);             \
        return ::Tannhofen::Plx::kResultOk;                    \
    }

// A class-name cast: the object as a C when it is one by isTypeOf, else null.
template <class C>
C* FCast(FObject* obj) {
    return obj && obj->isTypeOf(C::getFClassID(), true) ? static_cast<C*>(obj) : nullptr;
}
template <class C>
const C* FCast(const FObject* obj) {
    return obj && obj->isTypeOf(C::getFClassID(), true) ? static_cast<const C*>(obj) : nullptr;
}

} // namespace Tannhofen::Plx
