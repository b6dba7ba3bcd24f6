// The attributes that a skin gives a view, by name.
#pragma once

#include <map>
#include <string>

namespace Tannhofen::Editor {

using SkinAttributes = std::map<std::string, std::string>;

// The attribute's value, or `fallback` when the skin doesn't give it.
inline std::string skinValue(const SkinAttributes& skin, const std::string& name,
                             const std::string& fallback) {
    const auto found = skin.find(name);
    return found == skin.end() ? fallback : found->second;
}

} // namespace Tannhofen::Editor
