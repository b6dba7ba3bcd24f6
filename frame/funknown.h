// The root of the Plx interface family: result codes, 16-byte interface and
// class IDs, and FUnknown with its reference counting and interface queries.
//
// Every interface ID and class ID is written in source as four 32-bit words;
// makeTUID() is the single place that knows how those words lie in memory.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>

namespace Tannhofen::Plx {

using int8 = int8_t;
using uint8 = uint8_t;
using int16 = int16_t;
using uint16 = uint16_t;
using int32 = int32_t;
using uint32 = uint32_t;
using int64 = int64_t;
using uint64 = uint64_t;
using TBool = uint8_t;
using char8 = char;
using char16 = char16_t;
using ParamID = uint32_t;
using ParamValue = double;

// Result codes of every interface operation.
using tresult = int32_t;
inline constexpr tresult kResultOk = 0;
inline constexpr tresult kResultTrue = kResultOk;
inline constexpr tresult kResultFalse = 1;
inline constexpr tresult kInvalidArgument = static_cast<tresult>(0x80070057u);
inline constexpr tresult kNotImplemented = static_cast<tresult>(0x80004001u);
inline constexpr tresult kNoInterface = static_cast<tresult>(0x80004002u);

// A 16-byte interface or class ID as it lies in memory.
using TUID = std::array<uint8_t, 16>;

// Lays out the four words of an ID: l1 least significant byte first; then
// bytes 2, 3, 0, 1 of l2; then l3 and l4 most significant byte first.
constexpr TUID makeTUID(uint32_t l1, uint32_t l2, uint32_t l3, uint32_t l4) {
    auto b = [](uint32_t w, int i) { return static_cast<uint8_t>(w >> (8 * i)); };
    return TUID{b(l1, 0), b(l1, 1), b(l1, 2), b(l1, 3), //
                b(l2, 2), b(l2, 3), b(l2, 0), b(l2, 1), //
                b(l3, 3), b(l3, 2), b(l3, 1), b(l3, 0), //
                b(l4, 3), b(l4, 2), b(l4, 1), b(l4, 0)};
}

// Declares the interface ID of an interface class from its four words.
#define PLX_INTERFACE_ID(l1, l2, l3, l4) \
    static constexpr ::Tannhofen::Plx::TUID iid = ::Tannhofen::Plx::makeTUID(l1, l2, l3, l4)

// Compares 16 bytes of an ID given by pointer, as hosts hand them over.
inline bool equalTUID(const TUID& a, const TUID& b) {
    return std::memcmp(a.data(), b.data(), 16) == 0;
}

// The base interface: interface queries and reference counting. queryInterface
// hands out one reference for the caller, or clears *obj and answers
// kNoInterface.
class FUnknown {
public:
    virtual tresult queryInterface(const TUID& iid, void** obj) = 0;
    virtual uint32 addRef() = 0;
    virtual uint32 release() = 0;
    PLX_INTERFACE_ID(0x0832177D, 0x8D584EC1, 0x81D92B68, 0x6FD0E188);

protected:
    ~FUnknown() = default;
};

// A class ID with a validity test; all zero bytes is "no ID".
class FUID {
public:
    constexpr FUID() = default;
    constexpr FUID(uint32_t l1, uint32_t l2, uint32_t l3, uint32_t l4) : data(makeTUID(l1, l2, l3, l4)) {}
    constexpr explicit FUID(const TUID& id) : data(id) {}

    constexpr bool isValid() const {
        for (auto b : data)
            if (b != 0) return true;
        return false;
    }
    constexpr const TUID& toTUID() const { return data; }
    constexpr bool operator==(const FUID&) const = default;

private:
    TUID data{};
};

// Asks `unknown` for interface I; the result holds one reference or is null.
template <class I>
I* queryInterfaceOf(FUnknown* unknown) {
    if (!unknown) return nullptr;
    void* obj = nullptr;
    if (unknown->queryInterface(I::iid, &obj) != kResultOk) return nullptr;
    return static_cast<I*>(obj);
}

// An owning pointer to a reference-counted interface: releases what it holds.
template <class I>
class IPtr {
public:
    IPtr() = default;
    // Takes over a reference that the caller already holds.
    static IPtr adopt(I* p) {
        IPtr r;
        r.ptr = p;
        return r;
    }
    // Shares: adds a reference of its own.
    IPtr(I* p) : ptr(p) {
        if (ptr) ptr->addRef();
    }
    IPtr(const IPtr& o) : IPtr(o.ptr) {}
    IPtr(IPtr&& o) noexcept : ptr(o.ptr) { o.ptr = nullptr; }
    IPtr& operator=(IPtr o) noexcept {
        std::swap(ptr, o.ptr);
        return *this;
    }
    ~IPtr() {
        if (ptr) ptr->release();
    }
    I* get() const { return ptr; }
    I* operator->() const { return ptr; }
    explicit operator bool() const { return ptr != nullptr; }
    // Gives up the held reference to the caller.
    I* take() {
        I* p = ptr;
        ptr = nullptr;
        return p;
    }
    void reset() { *this = IPtr(); }

private:
    I* ptr = nullptr;
};

} // namespace Tannhofen::Plx
