#include "host/lib/attributes.h"

#include <algorithm>
#include <cstring>

namespace Tannhofen::Host {

using namespace Plx;

tresult HostAttributes::queryInterface(const TUID& iid, void** obj) {
    if (!obj) return kInvalidArgument;
    PLX_HOST_ANSWER(iid, obj, IPlxAttributes)
    PLX_HOST_ANSWER(iid, obj, FUnknown)
    *obj = nullptr;
    return kNoInterface;
}

template <class T>
const T* HostAttributes::find(const char* id) const {
    if (!id) return nullptr;
    auto it = values.find(id);
    return it == values.end() ? nullptr : std::get_if<T>(&it->second);
}

tresult HostAttributes::setInt(const char* id, int64_t value) {
    if (!id) return kInvalidArgument;
    values[id] = value;
    return kResultOk;
}

tresult HostAttributes::getInt(const char* id, int64_t* value) {
    if (!value) return kInvalidArgument;
    const auto* v = find<int64_t>(id);
    if (!v) return kResultFalse;
    *value = *v;
    return kResultOk;
}

tresult HostAttributes::setFloat(const char* id, double value) {
    if (!id) return kInvalidArgument;
    values[id] = value;
    return kResultOk;
}

tresult HostAttributes::getFloat(const char* id, double* value) {
    if (!value) return kInvalidArgument;
    const auto* v = find<double>(id);
    if (!v) return kResultFalse;
    *value = *v;
    return kResultOk;
}

tresult HostAttributes::setString(const char* id, const char16_t* string) {
    if (!id || !string) return kInvalidArgument;
    values[id] = std::u16string(string);
    return kResultOk;
}

tresult HostAttributes::getString(const char* id, char16_t* string, uint32_t sizeInBytes) {
    if (!string || sizeInBytes < sizeof(char16_t)) return kInvalidArgument;
    const auto* v = find<std::u16string>(id);
    if (!v) return kResultFalse;
    const size_t room = sizeInBytes / sizeof(char16_t) - 1;
    const size_t n = std::min(room, v->size());
    std::copy(v->begin(), v->begin() + static_cast<std::ptrdiff_t>(n), string);
    string[n] = 0;
    return kResultOk;
}

tresult HostAttributes::setBinary(const char* id, const void* data, uint32_t sizeInBytes) {
    if (!id || (!data && sizeInBytes > 0)) return kInvalidArgument;
    const auto* bytes = static_cast<const uint8_t*>(data);
    values[id] = std::vector<uint8_t>(bytes, bytes + sizeInBytes);
    return kResultOk;
}

tresult HostAttributes::getBinary(const char* id, const void** data, uint32_t* sizeInBytes) {
    if (!data || !sizeInBytes) return kInvalidArgument;
    const auto* v = find<std::vector<uint8_t>>(id);
    if (!v) return kResultFalse;
    *data = v->data();
    *sizeInBytes = static_cast<uint32_t>(v->size());
    return kResultOk;
}

} // namespace Tannhofen::Host
