// Texts as YAML can hold them.
#pragma once

#include <cstddef>
#include <string>

namespace lcmpdetail {

/// How many bytes a character has that begins with this one; 0: none begins so.
inline std::size_t utf8Size(unsigned int first) {
    if (first < 0x80)
        return 1;
    if (first < 0xC2 || first >= 0xF5)
        return 0;
    return first < 0xE0 ? 2 : first < 0xF0 ? 3 : 4;
}

/// How many bytes of well-formed UTF-8 begin here; 0: none do.
inline std::size_t utf8At(const std::string& text, std::size_t at) {
    const auto byte = [&](std::size_t i) {
        return at + i < text.size() ? static_cast<unsigned char>(text[at + i]) : 0U;
    };
    const unsigned int first = byte(0);
    const std::size_t size = utf8Size(first);
    for (std::size_t i = 1; i < size; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return 0;
    }
    const bool isOverlong = (first == 0xE0 && byte(1) < 0xA0) || (first == 0xF0 && byte(1) < 0x90);
    const bool isNoCharacter = (first == 0xED && byte(1) >= 0xA0) || (first == 0xF4 && byte(1) >= 0x90);
    return isOverlong || isNoCharacter ? 0 : size;
}

inline bool isUtf8(const std::string& text) {
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t size = utf8At(text, at);
        if (size == 0)
            return false;
        at += size;
    }
    return true;
}

}  // namespace lcmpdetail
