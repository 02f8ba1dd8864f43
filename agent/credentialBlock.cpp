#include "agent/credentialBlock.h"

#include <algorithm>
#include <cassert>

#include "support/base64.h"

namespace credentialBlock {
namespace {

constexpr unsigned char kFiller = 0xFF;

}  // namespace

std::string textOf(const Block& block) {
    return {block.begin(), std::find(block.begin(), block.end(), 0)};
}

std::string decipheredText(const AesKeys& keys, const Block& enciphered) {
    Block plain{};
    credentialCipher::decrypt(keys, enciphered.size(), enciphered.data(), plain.data());
    std::replace(plain.begin(), plain.end(), kFiller, static_cast<unsigned char>(0));
    return textOf(plain);
}

std::string decipheredText(const AesKeys& keys, std::string_view base64Text) {
    const std::string decoded = support::base64Decode(base64Text);
    Block enciphered{};
    std::copy_n(decoded.begin(), std::min(decoded.size(), enciphered.size()), enciphered.begin());
    return decipheredText(keys, enciphered);
}

Block filledBlock(const Block& text, size_t length) {
    Block block;
    block.fill(kFiller);
    assert(length <= block.size());
    std::copy_n(text.begin(), length, block.begin());
    return block;
}

}  // namespace credentialBlock
