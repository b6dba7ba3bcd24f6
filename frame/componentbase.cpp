#include "frame/componentbase.h"

#include "frame/ihostapplication.h"
#include "frame/text.h"

namespace Tannhofen::Plx {

ComponentBase::~ComponentBase() = default;

tresult ComponentBase::queryInterface(const TUID& iid, void** obj) {
    if (!obj) return kInvalidArgument;
    PLX_QUERY_INTERFACE(iid, obj, IPluginBase)
    PLX_QUERY_INTERFACE(iid, obj, IConnectionPoint)
    return FObject::queryInterface(iid, obj);
}

tresult ComponentBase::initialize(FUnknown* context) {
    if (hostContext) return kResultFalse;
    hostContext = IPtr<FUnknown>(context);
    return kResultOk;
}

tresult ComponentBase::terminate() {
    hostContext.reset();
    if (peerConnection) {
        // Keep the peer alive across its own disconnect call.
        IPtr<IConnectionPoint> peer = std::move(peerConnection);
        peer->disconnect(this);
    }
    return kResultOk;
}

tresult ComponentBase::connect(IConnectionPoint* other) {
    if (!other) return kInvalidArgument;
    if (peerConnection) return kResultFalse;
    peerConnection = IPtr<IConnectionPoint>(other);
    return kResultOk;
}

tresult ComponentBase::disconnect(IConnectionPoint* other) {
    if (!peerConnection || other != peerConnection.get()) return kResultFalse;
    peerConnection.reset();
    return kResultOk;
}

tresult ComponentBase::notify(IMessage* message) {
    if (!message) return kInvalidArgument;
    const char* id = message->getMessageID();
    if (!FObject::classIDsEqual(id, kTextMessageID)) return kResultFalse;
    IPlxAttributes* attributes = message->getAttributes();
    char16 text[256] = {};
    if (!attributes || attributes->getString(kTextAttribute, text, sizeof text) != kResultOk)
        return kResultFalse;
    text[255] = 0;
    return receiveText(utf16ToUtf8(text).c_str());
}

tresult ComponentBase::receiveText(const char*) {
    return kResultOk;
}

IMessage* ComponentBase::allocateMessage() {
    IPtr<IPlxHostApplication> host =
        IPtr<IPlxHostApplication>::adopt(queryInterfaceOf<IPlxHostApplication>(hostContext.get()));
    if (!host) return nullptr;
    void* obj = nullptr;
    if (host->createInstance(IMessage::iid, IMessage::iid, &obj) != kResultOk) return nullptr;
    return static_cast<IMessage*>(obj);
}

tresult ComponentBase::sendMessage(IMessage* message) {
    if (!message || !peerConnection) return kResultFalse;
    return peerConnection->notify(message);
}

tresult ComponentBase::sendTextMessage(const char* text) {
    IPtr<IMessage> message = IPtr<IMessage>::adopt(allocateMessage());
    if (!message) return kResultFalse;
    message->setMessageID(kTextMessageID);
    std::string cut = text ? text : "";
    if (cut.size() > kMaxTextBytes) {
        size_t end = kMaxTextBytes;
        while (end > 0 && (static_cast<unsigned char>(cut[end]) & 0xC0) == 0x80)
            --end; // don't split a character
        cut.resize(end);
    }
    IPlxAttributes* attributes = message->getAttributes();
    if (!attributes || attributes->setString(kTextAttribute, utf8ToUtf16(cut).c_str()) != kResultOk)
        return kResultFalse;
    return sendMessage(message.get());
}

tresult ComponentBase::sendMessageID(const char* messageID) {
    IPtr<IMessage> message = IPtr<IMessage>::adopt(allocateMessage());
    if (!message) return kResultFalse;
    message->setMessageID(messageID);
    return sendMessage(message.get());
}

} // namespace Tannhofen::Plx
