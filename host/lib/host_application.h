// HostApplication: the host context that plug-ins get in initialize. It
// creates messages and attribute lists (IPlxHostApplication), tells a
// settable product code (IPlxHostInfo), and is the timer service
// (IPlxTimerService) whose idle() calls every registered idle handler. With
// an object bus manager set, it also answers ThreeD::IObjectsBusManager. Once
// a file is offered, it is also a file selector (IPlxFileSelector) that
// answers that file, as a user who picks it in the dialog.
#pragma once

#include <map>
#include <string>
#include <vector>

#include "frame/ifileselector.h"
#include "frame/ihostapplication.h"
#include "frame/ihostinfo.h"
#include "frame/iidlehandler.h"
#include "frame/isurroundcontext.h"
#include "host/lib/object_bus.h"
#include "host/lib/ref_counted.h"

namespace Tannhofen::Host {

class HostApplication final : public RefCounted,
                              public Plx::IPlxHostApplication,
                              public Plx::IPlxHostInfo,
                              public Plx::IPlxTimerService,
                              public Plx::IPlxFileSelector,
                              public Plx::ISurroundContext {
public:
    static HostApplication* create(int32_t productCode = 0) { return new HostApplication(productCode); }

    Plx::tresult queryInterface(const Plx::TUID& iid, void** obj) override;
    PLX_HOST_REFCOUNT

    // IPlxHostApplication
    Plx::tresult getName(char16_t* name) override;
    Plx::tresult createInstance(const Plx::TUID& cid, const Plx::TUID& iid, void** obj) override;

    // IPlxHostInfo
    Plx::tresult getProductCode(int32_t* code) override;
    void setProductCode(int32_t code) { productCode = code; }

    // IPlxTimerService
    Plx::tresult registerIdleHandler(Plx::IIdleHandler* handler) override;
    Plx::tresult unregisterIdleHandler(Plx::IIdleHandler* handler) override;

    // ISurroundContext: one attribute list per section, made on first use.
    Plx::IPlxAttributes* getAttributes(const char* section) override;

    // One timer tick: calls onIdle of every registered handler, in order of
    // registration. A handler may unregister itself meanwhile.
    void idle();
    size_t idleHandlerCount() const { return idleHandlers.size(); }

    void setName(const std::u16string& newName) { name = newName; }

    // IPlxFileSelector, answered only while a file is offered: the offered
    // file when its extension is the filter's (case ignored), else nothing.
    Plx::tresult selectFile(const char16_t* title, const char16_t* filterDescription,
                            const char16_t* filterExtension, char16_t* path,
                            uint32_t pathCharacters) override;
    // The file the selector answers; empty: no selector.
    void offerFile(const std::u16string& path) { offeredFile = path; }

    // The host's object buses, offered to plug-ins that ask; null for none.
    void setObjectsBusManager(ObjectsBusManager* manager) {
        busManager = Plx::IPtr<ObjectsBusManager>(manager);
    }
    ObjectsBusManager* objectsBusManager() const { return busManager.get(); }

    // The object as the FUnknown that initialize takes.
    Plx::FUnknown* unknown() { return static_cast<Plx::IPlxHostApplication*>(this); }

private:
    explicit HostApplication(int32_t productCode) : productCode(productCode) {}
    ~HostApplication() override;

    int32_t productCode;
    std::u16string name = u"Tannhofen plx";
    std::u16string offeredFile;
    std::vector<Plx::IIdleHandler*> idleHandlers; // each holds a reference
    Plx::IPtr<ObjectsBusManager> busManager;
    std::map<std::string, Plx::IPtr<Plx::IPlxAttributes>> surroundSections;
};

} // namespace Tannhofen::Host
