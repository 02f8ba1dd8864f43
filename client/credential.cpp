#include "client/credential.h"

#include <openssl/evp.h>

#include <memory>

namespace client {
namespace {

constexpr size_t blockSize = 64;
constexpr char filler = '\xFF';

// Built into the agent and into every companion app alike.
constexpr unsigned char sharedKey[] = {
    0x4b, 0x1e, 0x90, 0xc2, 0x7a, 0x5d, 0x03, 0xf8, 0xe6, 0x21, 0x9b, 0x74, 0xc0, 0x5a, 0x3d, 0x8f,
    0x17, 0xe2, 0x69, 0x4a, 0xb8, 0x03, 0xcf, 0x5d, 0x91, 0x6e, 0x27, 0xa0, 0xb4, 0xc8, 0x5f, 0x13};

// The agent reads 63 bytes of an enciphered block, which spoils its last 16, and needs one filler
// byte before those. A plain password's base64 text has to fit 64 characters.
constexpr size_t longest(credentialForm_t form) {
    switch (form) {
        case credentialForm_t::enciphered:
            return 47;
        case credentialForm_t::plainUser:
            return 63;
        case credentialForm_t::plainPassword:
            return 48;
    }
    return 0;
}

}  // namespace

std::string credentialFault(const std::string& value, credentialForm_t form) {
    if (value.empty()) {
        return "is empty";
    }
    if (value.size() > longest(form)) {
        return "has " + std::to_string(value.size()) + " bytes; at most " +
               std::to_string(longest(form)) + " come through";
    }
    if (value.find('\0') != std::string::npos) {
        return "holds a NUL byte";
    }
    if (form == credentialForm_t::enciphered && value.find(filler) != std::string::npos) {
        return "holds a byte 0xFF, which the agent takes for its end";
    }
    return "";
}

std::string credentialBlock(const std::string& value) {
    std::string block = value;
    block.resize(blockSize, filler);
    unsigned char enciphered[blockSize];
    int length = 0;
    const std::unique_ptr<EVP_CIPHER_CTX, decltype(&EVP_CIPHER_CTX_free)> context(
        EVP_CIPHER_CTX_new(), EVP_CIPHER_CTX_free);
    const bool done =
        context != nullptr &&
        EVP_EncryptInit_ex(context.get(), EVP_aes_256_ecb(), nullptr, sharedKey, nullptr) == 1 &&
        EVP_CIPHER_CTX_set_padding(context.get(), 0) == 1 &&
        EVP_EncryptUpdate(context.get(), enciphered, &length,
                          reinterpret_cast<const unsigned char*>(block.data()), blockSize) == 1 &&
        length == static_cast<int>(blockSize);
    return done ? std::string(reinterpret_cast<const char*>(enciphered), blockSize) : "";
}

}  // namespace client
