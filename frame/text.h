// Text helpers of the frame: bounded copies into fixed fields, and the
// conversions between UTF-8 (8-bit text) and UTF-16 (16-bit text).
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "frame/funknown.h"

namespace Tannhofen::Plx {

// Copies at most size - 1 bytes of src into dst and zero-fills the rest of
// the field. A null src gives an all-zero field.
void copyBounded(char* dst, size_t size, const char* src);
// The same for 16-bit text; `count` is in characters.
void copyBounded16(char16* dst, size_t count, const char16* src);

// Length of zero-terminated 16-bit text; 0 for null.
size_t strlen16(const char16* s);

// Conversions; invalid sequences become U+FFFD.
std::u16string utf8ToUtf16(std::string_view text);
std::string utf16ToUtf8(std::u16string_view text);

// Converts 8-bit text into a 16-bit field of `count` characters, cut to fit
// and zero-filled.
void widenInto(char16* dst, size_t count, const char* src);
// Converts 16-bit text into an 8-bit field of `size` bytes, cut to whole
// characters and zero-filled.
void narrowInto(char* dst, size_t size, const char16* src);

} // namespace Tannhofen::Plx
