// HostMessage: the host's message (IMessage), an 8-bit ID with its own
// attribute list.
#pragma once

#include <optional>
#include <string>

#include "frame/imessage.h"
#include "host/lib/attributes.h"

namespace Tannhofen::Host {

class HostMessage final : public RefCounted, public Plx::IMessage {
public:
    static HostMessage* create() { return new HostMessage; }

    Plx::tresult queryInterface(const Plx::TUID& iid, void** obj) override;
    PLX_HOST_REFCOUNT

    const char* getMessageID() override { return id ? id->c_str() : nullptr; }
    void setMessageID(const char* newId) override;
    Plx::IPlxAttributes* getAttributes() override { return attributes.get(); }

private:
    HostMessage() : attributes(Plx::IPtr<HostAttributes>::adopt(HostAttributes::create())) {}
    std::optional<std::string> id;
    Plx::IPtr<HostAttributes> attributes;
};

} // namespace Tannhofen::Host
