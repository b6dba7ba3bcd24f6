// ComponentBase: what processors and controllers share: the host context from
// initialize, the connection to the other half, and messages over it.
#pragma once

#include "frame/fobject.h"
#include "frame/iconnectionpoint.h"
#include "frame/imessage.h"
#include "frame/ipluginbase.h"

namespace Tannhofen::Plx {

// FUnknown's reference counting for a class with several interface bases:
// all of them count on the one FObject count.
#define PLX_REFCOUNT_METHODS(BaseClass)           \
    ::Tannhofen::Plx::uint32 addRef() override {  \
        return BaseClass::addRef();               \
    }                                             \
    ::Tannhofen::Plx::uint32 release() override { \
        return BaseClass::release();              \
    }

class ComponentBase : public FObject, public IPluginBase, public IConnectionPoint {
public:
    PLX_OBJ_METHODS(ComponentBase, FObject, "Plx::ComponentBase")
    PLX_REFCOUNT_METHODS(FObject)
    tresult queryInterface(const TUID& iid, void** obj) override;

    // IPluginBase
    tresult initialize(FUnknown* context) override;
    tresult terminate() override;

    // IConnectionPoint
    tresult connect(IConnectionPoint* other) override;
    tresult disconnect(IConnectionPoint* other) override;
    tresult notify(IMessage* message) override;

    // Called with the UTF-8 text of a "TextMessage".
    virtual tresult receiveText(const char* text);

    // A new message from the host, with one reference for the caller; null
    // when the host can't make one.
    IMessage* allocateMessage();
    tresult sendMessage(IMessage* message);
    // Sends "TextMessage" with "Text" cut to 255 bytes of UTF-8.
    tresult sendTextMessage(const char* text);
    tresult sendMessageID(const char* messageID);

    FUnknown* getHostContext() const { return hostContext.get(); }
    IConnectionPoint* getPeer() const { return peerConnection.get(); }

    static constexpr const char* kTextMessageID = "TextMessage";
    static constexpr const char* kTextAttribute = "Text";
    static constexpr int32 kMaxTextBytes = 255;

protected:
    ComponentBase() = default;
    ~ComponentBase() override;

    IPtr<FUnknown> hostContext;
    IPtr<IConnectionPoint> peerConnection;
};

} // namespace Tannhofen::Plx
