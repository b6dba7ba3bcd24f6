// Text for XML documents: escaping of markup characters, and replacement of
// what XML 1.0 can't carry at all, so that any title or name a user typed
// gives a well-formed document.
#pragma once

#include <string>
#include <string_view>

namespace Tannhofen::Editor {

// UTF-8 text that can stand in character data and in a quoted attribute:
// & < > " ' become entities; tab, line feed and carriage return become
// character references (so attribute values keep them); other control
// characters, U+FFFE, U+FFFF, lone surrogates and invalid sequences become
// U+FFFD.
std::string xmlEscape(std::u16string_view text);
std::string xmlEscape(std::string_view utf8);

} // namespace Tannhofen::Editor
