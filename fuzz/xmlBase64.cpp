// Base64 in documents: the measuring and the decoding agree, and no buffer is overrun. The whole
// input is the text.
#include <algorithm>
#include <cassert>
#include <memory>
#include <vector>

#include "fuzz/target.h"
#include "support/base64.h"
#include "support/xmlParser.h"

namespace {

/// Decodes into memory of just that size, where a byte too many is noticed.
int decodeInto(const std::string& text, int room, std::unique_ptr<unsigned char[]>& buffer,
               XMLError& error) {
    buffer = std::make_unique<unsigned char[]>(static_cast<size_t>(room));
    return XMLNode::base64Decode(text.c_str(), buffer.get(), room, &error);
}

std::string withoutSpace(std::string text) {
    text.erase(std::remove_if(text.begin(), text.end(),
                              [](char character) {
                                  return std::string_view(" \t\n\r").find(character) !=
                                         std::string_view::npos;
                              }),
               text.end());
    return text;
}

/// Padding stands at the end only.
bool isPaddedAtEnd(const std::string& text) {
    const size_t padding = text.find('=');
    return padding == std::string::npos ||
           text.find_first_not_of('=', padding) == std::string::npos;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text = fuzz::upToNul(fuzz::textOf(data, size));
    const std::string digits = withoutSpace(text);
    XMLError measured{};
    XMLError decoded{};
    const int announced = XMLNode::base64DecodedSize(text.c_str(), &measured);
    std::unique_ptr<unsigned char[]> bytes;
    const int room = static_cast<int>(text.size());
    const int count = decodeInto(text, room, bytes, decoded);
    assert(announced >= 0 && decoded != XMLError::base64BufferTooSmall);

    if (measured == XMLError::base64IllegalCharacter) {
        assert(announced == 0 && decoded == XMLError::base64IllegalCharacter);
    } else {
        assert((measured == XMLError::none) == (digits.size() % 4 == 0));
    }
    if (decoded == XMLError::base64IllegalCharacter) {
        assert(count == -1);
        return 0;
    }
    assert(count >= 0 && count <= announced);
    assert((decoded == XMLError::base64Truncated) == (digits.size() % 4 != 0));
    if (isPaddedAtEnd(digits)) {
        assert(count == announced);
    }
    const std::string plain(reinterpret_cast<const char*>(bytes.get()), static_cast<size_t>(count));

    XMLError error{};
    std::unique_ptr<unsigned char[]> buffer;
    assert(decodeInto(text, count, buffer, error) == count && error == decoded);
    assert(std::equal(plain.begin(), plain.end(), reinterpret_cast<char*>(buffer.get())));
    for (int tooSmall = std::max(0, count - 4); tooSmall < count; ++tooSmall) {
        assert(decodeInto(text, tooSmall, buffer, error) == -1);
        assert(error == XMLError::base64BufferTooSmall);
        assert(std::equal(plain.begin(), plain.begin() + tooSmall,
                          reinterpret_cast<char*>(buffer.get())));
    }

    const std::string encoded = support::base64Encode(plain);
    assert(XMLNode::base64DecodedSize(encoded.c_str()) == count);
    assert(decodeInto(encoded, count, buffer, error) == count && error == XMLError::none);
    assert(std::equal(plain.begin(), plain.end(), reinterpret_cast<char*>(buffer.get())));
    return 0;
}
