#include "host/lib/host_application.h"

#include <algorithm>

#include "host/lib/attributes.h"
#include "host/lib/message.h"

namespace Tannhofen::Host {

using namespace Plx;

HostApplication::~HostApplication() {
    for (IIdleHandler* handler : idleHandlers) handler->release();
}

tresult HostApplication::queryInterface(const TUID& iid, void** obj) {
    if (!obj) return kInvalidArgument;
    PLX_HOST_ANSWER(iid, obj, IPlxHostApplication)
    PLX_HOST_ANSWER(iid, obj, IPlxHostInfo)
    PLX_HOST_ANSWER(iid, obj, IPlxTimerService)
    if (!offeredFile.empty()) {
        PLX_HOST_ANSWER(iid, obj, IPlxFileSelector)
    }
    PLX_HOST_ANSWER(iid, obj, ISurroundContext)
    if (busManager && equalTUID(iid, ThreeD::IObjectsBusManager::iid))
        return busManager->queryInterface(iid, obj);
    if (equalTUID(iid, FUnknown::iid)) {
        addRef();
        *obj = static_cast<FUnknown*>(static_cast<IPlxHostApplication*>(this));
        return kResultOk;
    }
    *obj = nullptr;
    return kNoInterface;
}

tresult HostApplication::getName(char16_t* out) {
    if (!out) return kInvalidArgument;
    // A bounded copy that zero-fills the field; the host library links no
    // module code, so it does not borrow the frame's text helpers.
    const size_t n = std::min<size_t>(name.size(), 127);
    std::copy_n(name.begin(), n, out);
    std::fill(out + n, out + 128, u'\0');
    return kResultOk;
}

tresult HostApplication::createInstance(const TUID& cid, const TUID& iid, void** obj) {
    if (!obj) return kInvalidArgument;
    *obj = nullptr;
    FUnknown* created = nullptr;
    if (equalTUID(cid, IMessage::iid))
        created = HostMessage::create();
    else if (equalTUID(cid, IPlxAttributes::iid))
        created = HostAttributes::create();
    if (!created) return kNoInterface;
    const tresult result = created->queryInterface(iid, obj);
    created->release();
    return result;
}

tresult HostApplication::selectFile(const char16_t*, const char16_t*, const char16_t* filterExtension,
                                    char16_t* path, uint32_t pathCharacters) {
    if (!path || !filterExtension || offeredFile.empty()) return kResultFalse;
    auto lower = [](char16_t c) { return c >= u'A' && c <= u'Z' ? char16_t(c - u'A' + u'a') : c; };
    const std::u16string extension(filterExtension);
    const size_t dot = offeredFile.rfind(u'.');
    if (dot == std::u16string::npos || offeredFile.size() - dot - 1 != extension.size() ||
        !std::equal(extension.begin(), extension.end(), offeredFile.begin() + std::ptrdiff_t(dot) + 1,
                    [&](char16_t a, char16_t b) { return lower(a) == lower(b); }))
        return kResultFalse;
    if (pathCharacters <= offeredFile.size()) return kResultFalse;
    std::copy(offeredFile.begin(), offeredFile.end(), path);
    path[offeredFile.size()] = 0;
    return kResultOk;
}

IPlxAttributes* HostApplication::getAttributes(const char* section) {
    if (!section) return nullptr;
    IPtr<IPlxAttributes>& list = surroundSections[section];
    if (!list) list = IPtr<IPlxAttributes>::adopt(HostAttributes::create());
    return list.get();
}

tresult HostApplication::getProductCode(int32_t* code) {
    if (!code) return kInvalidArgument;
    *code = productCode;
    return kResultOk;
}

tresult HostApplication::registerIdleHandler(IIdleHandler* handler) {
    if (!handler) return kInvalidArgument;
    if (std::find(idleHandlers.begin(), idleHandlers.end(), handler) != idleHandlers.end())
        return kResultFalse;
    handler->addRef();
    idleHandlers.push_back(handler);
    return kResultOk;
}

tresult HostApplication::unregisterIdleHandler(IIdleHandler* handler) {
    auto it = std::find(idleHandlers.begin(), idleHandlers.end(), handler);
    if (!handler || it == idleHandlers.end()) return kResultFalse;
    idleHandlers.erase(it);
    handler->release();
    return kResultOk;
}

void HostApplication::idle() {
    // Hold each handler while it runs: it may unregister itself.
    const std::vector<IIdleHandler*> handlers = idleHandlers;
    for (IIdleHandler* handler : handlers) handler->addRef();
    for (IIdleHandler* handler : handlers) {
        handler->onIdle();
        handler->release();
    }
}

} // namespace Tannhofen::Host
