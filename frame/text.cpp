#include "frame/text.h"

#include <algorithm>
#include <cstring>

namespace Tannhofen::Plx {

void copyBounded(char* dst, size_t size, const char* src) {
    if (!dst || size == 0) return;
    std::memset(dst, 0, size);
    if (src) std::memcpy(dst, src, std::min(std::strlen(src), size - 1));
}

size_t strlen16(const char16* s) {
    size_t n = 0;
    if (s)
        while (s[n]) ++n;
    return n;
}

void copyBounded16(char16* dst, size_t count, const char16* src) {
    if (!dst || count == 0) return;
    std::fill(dst, dst + count, u'\0');
    const size_t n = std::min(strlen16(src), count - 1);
    std::copy(src, src + n, dst);
}

namespace {

constexpr char32_t kReplacement = 0xFFFD;

// Decodes one code point starting at text[i] and advances i.
char32_t decodeUtf8(std::string_view text, size_t& i) {
    const auto lead = static_cast<unsigned char>(text[i++]);
    if (lead < 0x80) return lead;
    int extra = 0;
    char32_t cp = 0;
    if ((lead & 0xE0) == 0xC0) {
        extra = 1;
        cp = lead & 0x1F;
    } else if ((lead & 0xF0) == 0xE0) {
        extra = 2;
        cp = lead & 0x0F;
    } else if ((lead & 0xF8) == 0xF0) {
        extra = 3;
        cp = lead & 0x07;
    } else {
        return kReplacement;
    }
    for (int k = 0; k < extra; ++k) {
        if (i >= text.size() || (static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) return kReplacement;
        cp = (cp << 6) | (static_cast<unsigned char>(text[i++]) & 0x3F);
    }
    static constexpr char32_t kMin[] = {0, 0x80, 0x800, 0x10000};
    if (cp < kMin[extra] || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF)) return kReplacement;
    return cp;
}

void appendUtf8(std::string& out, char32_t cp) {
    if (cp < 0x80) {
        out += static_cast<char>(cp);
    } else if (cp < 0x800) {
        out += static_cast<char>(0xC0 | (cp >> 6));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else if (cp < 0x10000) {
        out += static_cast<char>(0xE0 | (cp >> 12));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (cp >> 18));
        out += static_cast<char>(0x80 | ((cp >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((cp >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (cp & 0x3F));
    }
}

} // namespace

std::u16string utf8ToUtf16(std::string_view text) {
    std::u16string out;
    out.reserve(text.size());
    size_t i = 0;
    while (i < text.size()) {
        const char32_t cp = decodeUtf8(text, i);
        if (cp >= 0x10000) {
            out += static_cast<char16>(0xD800 + ((cp - 0x10000) >> 10));
            out += static_cast<char16>(0xDC00 + ((cp - 0x10000) & 0x3FF));
        } else {
            out += static_cast<char16>(cp);
        }
    }
    return out;
}

std::string utf16ToUtf8(std::u16string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        char32_t cp = text[i];
        if (cp >= 0xD800 && cp <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 &&
            text[i + 1] <= 0xDFFF) {
            cp = 0x10000 + ((cp - 0xD800) << 10) + (text[i + 1] - 0xDC00);
            ++i;
        } else if (cp >= 0xD800 && cp <= 0xDFFF) {
            cp = kReplacement;
        }
        appendUtf8(out, cp);
    }
    return out;
}

void widenInto(char16* dst, size_t count, const char* src) {
    if (!dst || count == 0) return;
    std::u16string wide = utf8ToUtf16(src ? std::string_view(src) : std::string_view());
    if (wide.size() > count - 1) {
        wide.resize(count - 1);
        // Don't leave half of a surrogate pair behind.
        if (!wide.empty() && wide.back() >= 0xD800 && wide.back() <= 0xDBFF) wide.pop_back();
    }
    copyBounded16(dst, count, wide.c_str());
}

void narrowInto(char* dst, size_t size, const char16* src) {
    if (!dst || size == 0) return;
    std::string narrow = utf16ToUtf8(std::u16string_view(src ? src : u"", strlen16(src)));
    if (narrow.size() > size - 1) {
        size_t cut = size - 1;
        // Back up to the start of a character.
        while (cut > 0 && (static_cast<unsigned char>(narrow[cut]) & 0xC0) == 0x80) --cut;
        narrow.resize(cut);
    }
    copyBounded(dst, size, narrow.c_str());
}

} // namespace Tannhofen::Plx
