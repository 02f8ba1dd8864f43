#include "support/utf8.h"

namespace support {
namespace {

/// By the first byte: how many bytes a character has, and the least one that needs so many.
struct Lead {
    size_t length;
    char32_t least;
    unsigned char mask;
    unsigned char value;
};
constexpr Lead kLeads[] = {
    {1, 0, 0x80, 0x00}, {2, 0x80, 0xE0, 0xC0}, {3, 0x800, 0xF0, 0xE0}, {4, 0x10000, 0xF8, 0xF0}};

bool isScalar(char32_t character) {
    const bool isSurrogate = character >= 0xD800 && character <= 0xDFFF;
    return character <= 0x10FFFF && !isSurrogate;
}

}  // namespace

Utf8Character firstUtf8Character(std::string_view text) noexcept {
    constexpr Utf8Character kNone{kNoCharacter, 1};
    const auto first = static_cast<unsigned char>(text.front());
    for (const Lead& lead : kLeads) {
        if ((first & lead.mask) != lead.value) {
            continue;
        }
        char32_t character = first & static_cast<unsigned char>(~lead.mask);
        for (size_t i = 1; i < lead.length; ++i) {
            if (i >= text.size() || (static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) {
                return kNone;
            }
            character = character << 6 | (static_cast<unsigned char>(text[i]) & 0x3F);
        }
        const bool isCharacter = character >= lead.least && isScalar(character);
        return isCharacter ? Utf8Character{character, lead.length} : kNone;
    }
    return kNone;
}

bool isUtf8(std::string_view text) noexcept {
    while (!text.empty()) {
        const Utf8Character character = firstUtf8Character(text);
        if (character.value == kNoCharacter) {
            return false;
        }
        text.remove_prefix(character.length);
    }
    return true;
}

}  // namespace support
