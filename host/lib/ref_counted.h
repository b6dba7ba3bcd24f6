// RefCounted: the reference count that the host's objects share. A host
// object derives from it and from its interfaces, and answers queryInterface
// with hostQuery().
#pragma once

#include <atomic>

#include "frame/funknown.h"

namespace Tannhofen::Host {

class RefCounted {
public:
    RefCounted() = default;
    RefCounted(const RefCounted&) = delete;
    RefCounted& operator=(const RefCounted&) = delete;
    int32_t refCount() const { return count.load(); }

protected:
    virtual ~RefCounted() = default;
    uint32_t addRefImpl() { return static_cast<uint32_t>(++count); }
    uint32_t releaseImpl() {
        const int32_t left = --count;
        if (left == 0) {
            count = -1000;
            delete this;
            return 0;
        }
        return static_cast<uint32_t>(left);
    }

private:
    std::atomic<int32_t> count{1};
};

// FUnknown's three operations for a host object; answers FUnknown through First.
#define PLX_HOST_REFCOUNT         \
    uint32_t addRef() override {  \
        return addRefImpl();      \
    }                             \
    uint32_t release() override { \
        return releaseImpl();     \
    }

// In queryInterface: answers `Interface` with this object, adding a reference.
#define PLX_HOST_ANSWER(iidArg, objArg, Interface)             \
    if (::Tannhofen::Plx::equalTUID(iidArg, Interface::iid)) { \
        addRef();                                              \
        *(objArg) = static_cast<Interface*>(this);             \
        return ::Tannhofen::Plx::kResultOk;                    \
    }

} // namespace Tannhofen::Host
