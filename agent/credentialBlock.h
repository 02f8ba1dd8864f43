// The block of bytes that a user name or a password travels and is kept in: the text, then filler
// up to the size of the block, all of it enciphered. The logins and the local channel handle it.
#pragma once

#include <array>
#include <string>
#include <string_view>

#include "accounts/credentialCipher.h"

namespace credentialBlock {

using Block = std::array<unsigned char, credentialCipher::kCredentialBlockSize>;

/// The bytes up to the first NUL; a block that deciphered to noise may have none.
std::string textOf(const Block& block);

/// Deciphers a block and returns its text, which ends at the first filler or NUL byte. Any thread.
std::string decipheredText(const AesKeys& keys, const Block& enciphered);

/// The text in a block that was enciphered and then base64 (support/base64.h). Of a longer text
/// only the first block counts, a shorter one is filled up with NUL bytes.
std::string decipheredText(const AesKeys& keys, std::string_view base64Text);

/// The first `length` bytes of `text` (its NUL bytes included), then filler. A length above that
/// of a block stops the process.
Block filledBlock(const Block& text, size_t length);

}  // namespace credentialBlock
