// The cipher of user names and passwords on their way between the companion apps, the agent and
// the desktop's tools: AES (FIPS 197) over whole blocks, each on its own (electronic codebook).
#pragma once

#include <openssl/aes.h>

#include <array>
#include <cstddef>

/// Both key schedules, always made from the same key.
struct AesKeys {
    AES_KEY decipher;
    AES_KEY encipher;
};

namespace credentialCipher {

/// A credential: the text, filled up with 0xFF bytes to this many bytes, then enciphered.
inline constexpr size_t kCredentialBlockSize = 64;

/// The AES-256 key of all credentials; the companion apps have the same one built in.
inline constexpr std::array<unsigned char, 32> kCredentialKey = {
    0x4b, 0x1e, 0x90, 0xc2, 0x7a, 0x5d, 0x03, 0xf8, 0xe6, 0x21, 0x9b, 0x74, 0xc0, 0x5a, 0x3d, 0x8f,
    0x17, 0xe2, 0x69, 0x4a, 0xb8, 0x03, 0xcf, 0x5d, 0x91, 0x6e, 0x27, 0xa0, 0xb4, 0xc8, 0x5f, 0x13};

/// Makes both schedules of `keys` from the `length` bytes (16, 24 or 32) at `key`. Returns 0, or
/// -1 for another length, `keys` being left as it was, or libcrypto's own negative result.
int setKey(AesKeys& keys, const unsigned char* key, int length);

/// Enciphers the `length` bytes at `in` to `out`, which may be the same buffer. Returns 0, or -1
/// when `length` is not a multiple of 16, nothing being written. Any thread.
int encrypt(const AesKeys& keys, size_t length, const unsigned char* in, unsigned char* out);

/// Deciphers; otherwise as encrypt().
int decrypt(const AesKeys& keys, size_t length, const unsigned char* in, unsigned char* out);

}  // namespace credentialCipher
