// UTF-8 (RFC 3629), one character at a time. Texts of the server and of clients are bytes that are
// meant to be UTF-8; whoever has to rely on it looks here.
#pragma once

#include <cstddef>
#include <string_view>

namespace support {

/// What stands for a character that cannot be passed on: U+FFFD.
inline constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";
/// Not a character: a byte that begins none.
inline constexpr char32_t kNoCharacter = 0xFFFFFFFF;

struct Utf8Character {
    char32_t value;  ///< kNoCharacter when the first byte begins no character
    size_t length;   ///< in bytes; 1 for kNoCharacter
};

/// The first character of `text`, which is not empty. Overlong forms, surrogates and values above
/// U+10FFFF are none. Any thread.
Utf8Character firstUtf8Character(std::string_view text) noexcept;

/// Whether `text` is UTF-8 throughout.
bool isUtf8(std::string_view text) noexcept;

}  // namespace support
