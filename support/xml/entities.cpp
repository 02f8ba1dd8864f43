// Character entities: decoded where they stand, escaped into a buffer of the measured size.
//
// Both look at single bytes: in none of the encodings is a markup character part of a longer
// character, so none is ever split, and a stray first byte cannot hide the markup behind it.
#include "support/xml/entities.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "support/xml/characters.h"

namespace support::xml {

namespace {

struct Entity {
    std::string_view entity;
    char character;
};

// The last one stands for an ampersand that begins none of the others: it is kept as it is.
constexpr Entity kEntities[] = {{"&amp;", '&'},  {"&lt;", '<'},    {"&gt;", '>'},
                                {"&quot;", '"'}, {"&apos;", '\''}, {"&", '&'}};

/// For each byte that must be escaped the number of its entity plus 1, for all others 0.
constexpr std::array<uint8_t, 256> makeEscapes() {
    std::array<uint8_t, 256> escapes{};
    for (uint8_t i = 0; i + size_t{1} < std::size(kEntities); ++i) {
        escapes[static_cast<unsigned char>(kEntities[i].character)] = i + 1;
    }
    return escapes;
}

constexpr std::array<uint8_t, 256> kEscapes = makeEscapes();

constexpr uint32_t kLastCodePoint = 0x10FFFF;

/// Reads the digits of "&#...;" at `text`. Returns the position behind the ";", or null when there
/// is no character of that number.
const char* readCharacterNumber(const char* text, const char* end, uint32_t& number) {
    text += 2;
    uint32_t base = 10;
    if (text < end && (*text == 'x' || *text == 'X')) {
        base = 16;
        ++text;
    }
    number = 0;
    for (; text < end && *text != ';'; ++text) {
        const char digit = lowerCase(*text);
        uint32_t value = base;
        if (digit >= '0' && digit <= '9') {
            value = static_cast<uint32_t>(digit - '0');
        } else if (digit >= 'a' && digit <= 'f') {
            value = static_cast<uint32_t>(digit - 'a') + 10;
        }
        if (value >= base || number > kLastCodePoint) {
            return nullptr;
        }
        number = number * base + value;
    }
    const bool isSurrogate = number >= 0xD800 && number <= 0xDFFF;
    // Number 0 would end the text early; no digit at all comes out as 0, too.
    if (text == end || number == 0 || number > kLastCodePoint || isSurrogate) {
        return nullptr;
    }
    return text + 1;
}

char* writeUtf8(char* output, uint32_t number) {
    auto put = [&output](uint32_t byte) { *output++ = static_cast<char>(byte); };
    if (number < 0x80) {
        put(number);
        return output;
    }
    if (number < 0x800) {
        put(0xC0 | (number >> 6));
    } else {
        if (number < 0x10000) {
            put(0xE0 | (number >> 12));
        } else {
            put(0xF0 | (number >> 18));
            put(0x80 | ((number >> 12) & 0x3F));
        }
        put(0x80 | ((number >> 6) & 0x3F));
    }
    put(0x80 | (number & 0x3F));
    return output;
}

const Entity& entityAt(const char* text, const char* end) {
    const auto left = static_cast<size_t>(end - text);
    return *std::find_if(std::begin(kEntities), std::end(kEntities) - 1, [&](const Entity& row) {
        return row.entity.size() <= left && startsWithIgnoringCase(text, row.entity);
    });
}

/// Decodes the entity at `input` to `output` and moves both behind it.
XMLError decodeOne(char*& output, const char*& input, const char* end, XMLEncoding encoding) {
    if (end - input < 3 || input[1] != '#') {
        const Entity& entity = entityAt(input, end);
        *output++ = entity.character;
        input += entity.entity.size();
        return XMLError::none;
    }
    uint32_t number = 0;
    const char* const behind = readCharacterNumber(input, end, number);
    if (behind == nullptr) {
        return XMLError::unknownEntity;
    }
    if (encoding == XMLEncoding::utf8) {
        output = writeUtf8(output, number);
    } else if (number > 0xFF) {
        return XMLError::characterAbove255;
    } else {
        *output++ = static_cast<char>(number);
    }
    input = behind;
    return XMLError::none;
}

}  // namespace

XMLError decodeEntities(char* text, uint32_t& length, XMLEncoding encoding, const char** errorAt) {
    const char* const end = text + length;
    char* output = text;
    const char* input = text;
    while (input < end) {
        const auto* next =
            static_cast<const char*>(memchr(input, '&', static_cast<size_t>(end - input)));
        const auto plain = static_cast<size_t>((next == nullptr ? end : next) - input);
        if (output != input) {
            memmove(output, input, plain);
        }
        output += plain;
        input += plain;
        if (next != nullptr) {
            const XMLError error = decodeOne(output, input, end, encoding);
            if (error != XMLError::none) {
                *errorAt = next;
                return error;
            }
        }
    }
    length = static_cast<uint32_t>(output - text);
    return XMLError::none;
}

size_t escapedLength(const char* text, size_t length) {
    size_t escaped = length;
    for (size_t i = 0; i < length; ++i) {
        const uint8_t escape = kEscapes[static_cast<unsigned char>(text[i])];
        if (escape != 0) {
            escaped += kEntities[escape - 1].entity.size() - 1;
        }
    }
    return escaped;
}

char* writeEscaped(char* output, const char* text, size_t length) {
    for (size_t i = 0; i < length; ++i) {
        const uint8_t escape = kEscapes[static_cast<unsigned char>(text[i])];
        if (escape == 0) {
            *output++ = text[i];
        } else {
            const std::string_view entity = kEntities[escape - 1].entity;
            output = std::copy(entity.begin(), entity.end(), output);
        }
    }
    return output;
}

}  // namespace support::xml
