#include "editor/xml_text.h"

#include "frame/text.h"

namespace Tannhofen::Editor {

namespace {

constexpr char32_t kReplacement = 0xFFFD;

void appendUtf8(std::string& out, char32_t c) {
    if (c < 0x80) {
        out += static_cast<char>(c);
    } else if (c < 0x800) {
        out += static_cast<char>(0xC0 | c >> 6);
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
        out += static_cast<char>(0xE0 | c >> 12);
        out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | c >> 18);
        out += static_cast<char>(0x80 | (c >> 12 & 0x3F));
        out += static_cast<char>(0x80 | (c >> 6 & 0x3F));
        out += static_cast<char>(0x80 | (c & 0x3F));
    }
}

void appendEscaped(std::string& out, char32_t c) {
    switch (c) {
    case '&': out += "&amp;"; return;
    case '<': out += "&lt;"; return;
    case '>': out += "&gt;"; return;
    case '"': out += "&quot;"; return;
    case '\'': out += "&apos;"; return;
    case '\t': out += "&#9;"; return;
    case '\n': out += "&#10;"; return;
    case '\r': out += "&#13;"; return;
    default: break;
    }
    const bool allowed = c >= 0x20 && c != 0xFFFE && c != 0xFFFF && !(c >= 0xD800 && c < 0xE000);
    appendUtf8(out, allowed ? c : kReplacement);
}

} // namespace

std::string xmlEscape(std::u16string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        char32_t c = text[i];
        if (c >= 0xD800 && c < 0xDC00 && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] < 0xE000)
            c = 0x10000 + ((c - 0xD800) << 10) + (text[++i] - 0xDC00);
        appendEscaped(out, c);
    }
    return out;
}

std::string xmlEscape(std::string_view utf8) {
    return xmlEscape(Plx::utf8ToUtf16(utf8));
}

} // namespace Tannhofen::Editor
