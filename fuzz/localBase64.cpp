// Base64 of the local channel. The whole input is once the bytes to encode and once the text to
// decode.
#include <algorithm>
#include <cassert>

#include "fuzz/target.h"
#include "support/base64.h"
#include "support/xmlParser.h"

namespace {

bool isDigit(char character) {
    return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z') ||
           (character >= '0' && character <= '9') || character == '+' || character == '/';
}

void checkEncoding(std::string_view bytes) {
    const std::string text = support::base64Encode(bytes);
    assert(text.size() == (bytes.size() + 2) / 3 * 4);
    assert(support::base64Decode(text) == bytes);
    // The library of the documents is a decoder of its own.
    std::string other(bytes.size(), '\0');
    const int count =
        XMLNode::base64Decode(text.c_str(), reinterpret_cast<unsigned char*>(other.data()),
                              static_cast<int>(other.size()));
    assert(count == static_cast<int>(bytes.size()) && other == bytes);
}

void checkDecoding(std::string_view text) {
    const std::string bytes = support::base64Decode(text);
    const auto digits = static_cast<size_t>(std::count_if(text.begin(), text.end(), isDigit));
    const auto padding = static_cast<size_t>(std::count(text.begin(), text.end(), '='));
    assert(bytes.size() == (digits + padding == text.size() ? digits * 6 / 8 : 0));
    // Encoding gives the digits back, but for the bits that fill no byte.
    std::string plain(text);
    plain.erase(std::remove(plain.begin(), plain.end(), '='), plain.end());
    const std::string again = support::base64Encode(bytes);
    const size_t whole = bytes.size() / 3 * 4;
    assert(again.compare(0, whole, plain, 0, whole) == 0 || bytes.empty());
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    checkEncoding(fuzz::textOf(data, size));
    checkDecoding(fuzz::textOf(data, size));
    return 0;
}
