// HostAttributes: the host's attribute list (IPlxAttributes): named integers,
// floats, 16-bit strings and binary blocks. Setting a name again replaces its
// value, whatever the type.
#pragma once

#include <map>
#include <string>
#include <variant>
#include <vector>

#include "frame/iattributes.h"
#include "host/lib/ref_counted.h"

namespace Tannhofen::Host {

class HostAttributes final : public RefCounted, public Plx::IPlxAttributes {
public:
    using Value = std::variant<int64_t, double, std::u16string, std::vector<uint8_t>>;

    static HostAttributes* create() { return new HostAttributes; }

    Plx::tresult queryInterface(const Plx::TUID& iid, void** obj) override;
    PLX_HOST_REFCOUNT

    Plx::tresult setInt(const char* id, int64_t value) override;
    Plx::tresult getInt(const char* id, int64_t* value) override;
    Plx::tresult setFloat(const char* id, double value) override;
    Plx::tresult getFloat(const char* id, double* value) override;
    Plx::tresult setString(const char* id, const char16_t* string) override;
    Plx::tresult getString(const char* id, char16_t* string, uint32_t sizeInBytes) override;
    Plx::tresult setBinary(const char* id, const void* data, uint32_t sizeInBytes) override;
    Plx::tresult getBinary(const char* id, const void** data, uint32_t* sizeInBytes) override;

    bool has(const char* id) const { return id && values.count(id) != 0; }
    size_t size() const { return values.size(); }

private:
    HostAttributes() = default;
    template <class T>
    const T* find(const char* id) const;

    std::map<std::string, Value> values;
};

} // namespace Tannhofen::Host
