// The block interface of libcrypto 1.1, which later versions still have but call deprecated.
#define OPENSSL_API_COMPAT 0x10100000L

#include "accounts/credentialCipher.h"

namespace credentialCipher {
namespace {

constexpr int kBitsPerByte = 8;

using BlockOperation = void (*)(const unsigned char* in, unsigned char* out, const AES_KEY* key);

int forEachBlock(BlockOperation operation, const AES_KEY& schedule, size_t length,
                 const unsigned char* in, unsigned char* out) {
    if (length % AES_BLOCK_SIZE != 0) {
        return -1;
    }
    for (size_t offset = 0; offset < length; offset += AES_BLOCK_SIZE) {
        operation(in + offset, out + offset, &schedule);
    }
    return 0;
}

}  // namespace

int setKey(AesKeys& keys, const unsigned char* key, int length) {
    if (length != 16 && length != 24 && length != 32) {
        return -1;
    }
    const int bits = length * kBitsPerByte;
    const int result = AES_set_encrypt_key(key, bits, &keys.encipher);
    return result < 0 ? result : AES_set_decrypt_key(key, bits, &keys.decipher);
}

int encrypt(const AesKeys& keys, size_t length, const unsigned char* in, unsigned char* out) {
    return forEachBlock(AES_encrypt, keys.encipher, length, in, out);
}

int decrypt(const AesKeys& keys, size_t length, const unsigned char* in, unsigned char* out) {
    return forEachBlock(AES_decrypt, keys.decipher, length, in, out);
}

}  // namespace credentialCipher
