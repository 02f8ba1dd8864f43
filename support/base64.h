// Base64 (RFC 4648, section 4) of the local channel: the password of the hand-over file is read
// and passed on in it.
#pragma once

#include <string>
#include <string_view>

namespace support {

/// Returns the base64 text of `bytes`, padded with "=" to a multiple of four characters.
/// Never fails; any thread.
std::string base64Encode(std::string_view bytes);

/// Returns the bytes of the base64 text `text`. "=" is skipped wherever it stands; a character
/// outside the alphabet, white space and line ends included, gives an empty result. Bits that do
/// not fill a byte are dropped. Any thread.
std::string base64Decode(std::string_view text);

}  // namespace support
