// The values of a login as they travel: enciphered 64-byte blocks or plain bytes, both as base64.
#pragma once

#include <cstddef>
#include <string>

namespace client {

/// How a value is sent: enciphered by `Login`, plain by `Login2`.
enum class credentialForm_t { enciphered, plainUser, plainPassword };

/// Why `value` cannot be sent in that form, as the end of the sentence "the password …"; the empty
/// text when it can. A value has to survive the way through the agent byte for byte:
/// enciphered, 47 bytes at most and no byte 0xFF; plain, 63 bytes of user or 48 of password; never
/// empty, no NUL.
std::string credentialFault(const std::string& value, credentialForm_t form);

/// `value` (no credentialFault) followed by bytes 0xFF up to 64 bytes, enciphered with AES-256 in
/// ECB mode under the key that agents and companion apps share. Returns the 64 enciphered bytes,
/// or the empty string when libcrypto fails.
std::string credentialBlock(const std::string& value);

}  // namespace client
