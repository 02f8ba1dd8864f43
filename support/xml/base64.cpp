// Base64 texts inside documents (RFC 4648, section 4), white space between the characters allowed.
#include <array>
#include <cstdint>
#include <string_view>

#include "support/xmlParser.h"

namespace {

// Values 0 to 63 are the digits themselves.
enum ByteClass : uint8_t { padding = 64, skipped, endOfText, illegal };

constexpr std::array<uint8_t, 256> makeByteClasses() {
    constexpr std::string_view kAlphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::array<uint8_t, 256> classes{};
    classes.fill(illegal);
    for (size_t digit = 0; digit < kAlphabet.size(); ++digit) {
        classes[static_cast<unsigned char>(kAlphabet[digit])] = static_cast<uint8_t>(digit);
    }
    for (const char character : std::string_view("\t\n\r ")) {
        classes[static_cast<unsigned char>(character)] = skipped;
    }
    classes['='] = padding;
    classes[0] = endOfText;
    return classes;
}

constexpr std::array<uint8_t, 256> kByteClasses = makeByteClasses();

/// The class of the next byte that is not white space; `text` moves behind it, but not behind the
/// end of the text.
uint8_t nextClass(const char*& text) {
    uint8_t found = skipped;
    while (found == skipped) {
        found = kByteClasses[static_cast<unsigned char>(*text)];
        text += found == endOfText ? 0 : 1;
    }
    return found;
}

/// Up to four digits of one group and the bits that they make.
struct Group {
    uint32_t bits = 0;
    int digits = 0;
    XMLError error = XMLError::none;
    bool isLast = false;
};

Group readGroup(const char*& text) {
    Group group;
    for (int place = 0; place < 4; ++place) {
        const uint8_t found = nextClass(text);
        if (found == endOfText) {
            group.isLast = true;
            group.error = place == 0 ? XMLError::none : XMLError::base64Truncated;
            return group;
        }
        // Behind padding the group may hold padding alone.
        if (found == illegal || (found < padding && group.digits < place)) {
            group.error = XMLError::base64IllegalCharacter;
            return group;
        }
        if (found < padding) {
            group.bits |= static_cast<uint32_t>(found) << (18 - 6 * place);
            ++group.digits;
        }
    }
    return group;
}

}  // namespace

int XMLNode::base64DecodedSize(const char* text, XMLError* error) {
    XMLError ignored = XMLError::none;
    XMLError& outcome = error == nullptr ? ignored : *error;
    outcome = XMLError::none;
    if (text == nullptr) {
        return 0;
    }
    size_t count = 0;
    size_t paddingAtEnd = 0;
    for (uint8_t found = nextClass(text); found != endOfText; found = nextClass(text)) {
        if (found == illegal) {
            outcome = XMLError::base64IllegalCharacter;
            return 0;
        }
        ++count;
        paddingAtEnd = found == padding ? paddingAtEnd + 1 : 0;
    }
    if (count % 4 != 0) {
        outcome = XMLError::base64LengthNotMultipleOf4;
    }
    return static_cast<int>((count - paddingAtEnd) * 3 / 4);
}

int XMLNode::base64Decode(const char* text, unsigned char* buffer, int length, XMLError* error) {
    XMLError ignored = XMLError::none;
    XMLError& outcome = error == nullptr ? ignored : *error;
    outcome = XMLError::none;
    if (text == nullptr) {
        return 0;
    }
    int written = 0;
    bool isLast = false;
    while (!isLast) {
        const Group group = readGroup(text);
        isLast = group.isLast;
        if (group.error != XMLError::none) {
            outcome = group.error;
        }
        if (group.error == XMLError::base64IllegalCharacter) {
            return -1;
        }
        const int bytes = group.digits * 3 / 4;
        for (int i = 0; i < bytes; ++i) {
            if (written >= length) {
                outcome = XMLError::base64BufferTooSmall;
                return -1;
            }
            buffer[written++] = static_cast<unsigned char>(group.bits >> (16 - 8 * i));
        }
    }
    return written;
}
