// Classes and lengths of characters: one table lookup each. Internal to the XML library.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "support/xmlParser.h"

namespace support::xml {

enum CharacterClass : uint8_t {
    space = 1,         // separates tokens
    wordStop = 2,      // ends a text token, a slash only before ">"
    pieceStop = 4,     // must be looked at in the text between tags
    quoteStop = 8,     // must be looked at in quoted text
    markupStart = 16,  // behind "<": may begin something else than a start tag
    upperCase = 32,    // ASCII letters whose lower case is 32 higher
    notSpace = 64,     // all but those that separate tokens
    wordStart = 128,   // begins a text token, whatever follows
};

constexpr std::array<uint8_t, 256> makeCharacterClasses() {
    std::array<uint8_t, 256> classes{};
    classes.fill(notSpace | wordStart);
    auto mark = [&classes](std::string_view characters, uint8_t bits) {
        for (const char character : characters) {
            classes[static_cast<unsigned char>(character)] |= bits;
        }
    };
    for (const char character : std::string_view(" \t\n\r")) {
        classes[static_cast<unsigned char>(character)] = space | wordStop;
    }
    mark("/=", wordStop);
    mark(std::string_view("<>\0", 3), wordStop | pieceStop | quoteStop);
    mark("&\"'", pieceStop | quoteStop);
    mark("!?P", markupStart);
    for (const char character : std::string_view("/=<>\"'\0", 7)) {
        classes[static_cast<unsigned char>(character)] &= static_cast<uint8_t>(~wordStart);
    }
    mark("ABCDEFGHIJKLMNOPQRSTUVWXYZ", upperCase);
    return classes;
}

inline constexpr std::array<uint8_t, 256> kCharacterClasses = makeCharacterClasses();

inline bool isA(char character, CharacterClass wanted) {
    return (kCharacterClasses[static_cast<unsigned char>(character)] & wanted) != 0;
}
inline char lowerCase(char character) {
    return isA(character, upperCase) ? static_cast<char>(character + 32) : character;
}

/// Whether `text`, which ends with a zero byte, begins with `start`, ASCII letter case ignored.
inline bool startsWithIgnoringCase(const char* text, std::string_view start) {
    for (const char character : start) {
        if (lowerCase(*text++) != lowerCase(character)) {
            return false;
        }
    }
    return true;
}

/// Whether the `length` bytes, at least one, of `name` stand at `text`. Of both, some bytes behind
/// the last one are read with it (less than kSlack).
inline bool sameBytes(const char* text, const char* name, size_t length) {
    using Word = uint64_t;
    for (;; text += sizeof(Word), name += sizeof(Word), length -= sizeof(Word)) {
        Word left = 0;
        Word right = 0;
        memcpy(&left, text, sizeof(Word));
        memcpy(&right, name, sizeof(Word));
        if (length <= sizeof(Word)) {
            const size_t unused = 8 * (sizeof(Word) - length);
            const Word difference = left ^ right;
            return (std::endian::native == std::endian::little ? difference << unused
                                                               : difference >> unused) == 0;
        }
        if (left != right) {
            return false;
        }
    }
}

/// The first position at or after `text` whose character is of class `stop`. The zero byte that
/// ends a text must be of that class; nothing behind the position found is read.
template <typename Character>
inline Character* findClass(Character* text, CharacterClass stop) {
    for (;; text += 4) {
        if (isA(text[0], stop)) {
            return text;
        }
        if (isA(text[1], stop)) {
            return text + 1;
        }
        if (isA(text[2], stop)) {
            return text + 2;
        }
        if (isA(text[3], stop)) {
            return text + 3;
        }
    }
}

inline char* skipSpace(char* text) {
    return findClass(text, notSpace);
}

/// Bytes of the character at `text` in `encoding`, before the end at `end`: what the first byte
/// announces, or 1 when the bytes that it announces do not follow. 0 at a zero byte.
size_t characterLength(const char* text, const char* end, XMLEncoding encoding);

/// The name of `encoding` in a written declaration.
const char* encodingName(XMLEncoding encoding);

}  // namespace support::xml
