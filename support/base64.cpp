#include "support/base64.h"

#include <array>
#include <climits>
#include <cstddef>
#include <cstdint>

namespace support {
namespace {

constexpr std::string_view kAlphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr char kPadding = '=';
constexpr unsigned kBitsPerCharacter = 6;
constexpr unsigned kCharacterMask = 0x3F;
constexpr unsigned kByteMask = 0xFF;
constexpr int8_t kNotInAlphabet = -1;

/// The alphabet turned round: the six bits that each character stands for.
constexpr std::array<int8_t, UCHAR_MAX + 1> kBitsOf = [] {
    std::array<int8_t, UCHAR_MAX + 1> bits{};
    bits.fill(kNotInAlphabet);
    for (size_t value = 0; value < kAlphabet.size(); ++value) {
        bits[static_cast<unsigned char>(kAlphabet[value])] = static_cast<int8_t>(value);
    }
    return bits;
}();

}  // namespace

std::string base64Encode(std::string_view bytes) {
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    unsigned pending = 0;
    unsigned pendingBits = 0;
    for (const char byte : bytes) {
        pending = pending << CHAR_BIT | static_cast<unsigned char>(byte);
        for (pendingBits += CHAR_BIT; pendingBits >= kBitsPerCharacter;) {
            pendingBits -= kBitsPerCharacter;
            text.push_back(kAlphabet[pending >> pendingBits & kCharacterMask]);
        }
    }
    if (pendingBits > 0) {
        text.push_back(kAlphabet[pending << (kBitsPerCharacter - pendingBits) & kCharacterMask]);
    }
    text.append((4 - text.size() % 4) % 4, kPadding);
    return text;
}

std::string base64Decode(std::string_view text) {
    std::string bytes;
    bytes.reserve(text.size() / 4 * 3 + 2);
    unsigned pending = 0;
    unsigned pendingBits = 0;
    for (const char character : text) {
        if (character == kPadding) {
            continue;
        }
        const int8_t bits = kBitsOf[static_cast<unsigned char>(character)];
        if (bits == kNotInAlphabet) {
            return {};
        }
        pending = pending << kBitsPerCharacter | static_cast<unsigned>(bits);
        pendingBits += kBitsPerCharacter;
        if (pendingBits >= CHAR_BIT) {
            pendingBits -= CHAR_BIT;
            bytes.push_back(static_cast<char>(pending >> pendingBits & kByteMask));
        }
    }
    return bytes;
}

}  // namespace support
