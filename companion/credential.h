// User and password on their way to the agent: what can be sent at all, and the request that
// carries them, enciphered or plain.
#pragma once

#include <string>

namespace companion {

/// How a value is sent: enciphered by `Login`, plain by `Login2`.
enum class CredentialForm { enciphered, plainUser, plainPassword };

/// Why `value` cannot be sent in that form, as the end of the sentence "the password …"; the empty
/// text when it can. A value has to survive the way through the agent byte for byte: enciphered, 47
/// bytes at most and no byte 0xFF; plain, 63 bytes of user or 48 of password; never empty, no NUL.
/// Any thread.
std::string credentialFault(const std::string& value, CredentialForm form);

/// The `Login` request for values without a credentialFault when enciphered. Any thread.
std::string loginRequest(const std::string& user, const std::string& password);

/// The `Login2` request for values without a credentialFault when plain. Any thread.
std::string plainLoginRequest(const std::string& user, const std::string& password);

}  // namespace companion
