#include "editor/xml_text.h"

#include "frame/text.h"

namespace Tannhofen::Editor {

namespace {

constexpr char16_t kReplacement = 0xFFFD;

bool isHighSurrogate(char16_t c) {
    return c >= 0xD800 && c < 0xDC00;
}
bool isLowSurrogate(char16_t c) {
    return c >= 0xDC00 && c < 0xE000;
}

} // namespace

std::string xmlEscape(std::u16string_view text) {
    // What XML can't carry becomes U+FFFD; then the markup characters, which
    // never occur inside a multi-byte UTF-8 sequence, become references.
    std::u16string clean;
    clean.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        const char16_t c = text[i];
        if (isHighSurrogate(c) && i + 1 < text.size() && isLowSurrogate(text[i + 1])) {
            clean += c;
            clean += text[++i];
        } else {
            const bool control = c < 0x20 && c != u'\t' && c != u'\n' && c != u'\r';
            const bool allowed =
                !control && c != 0xFFFE && c != 0xFFFF && !isHighSurrogate(c) && !isLowSurrogate(c);
            clean += allowed ? c : kReplacement;
        }
    }
    std::string out;
    for (char c : Plx::utf16ToUtf8(clean)) {
        switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        case '\'': out += "&apos;"; break;
        case '\t': out += "&#9;"; break;
        case '\n': out += "&#10;"; break;
        case '\r': out += "&#13;"; break;
        default: out += c;
        }
    }
    return out;
}

std::string xmlEscape(std::string_view utf8) {
    return xmlEscape(Plx::utf8ToUtf16(utf8));
}

} // namespace Tannhofen::Editor
