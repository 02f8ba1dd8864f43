#include "accounts/credentialCipher.h"

#include <gtest/gtest.h>

#include <cstring>

#include "support/base64.h"

using credentialCipher::decrypt;
using credentialCipher::encrypt;
using credentialCipher::setKey;

// Enciphers `plain` in place, as base64, and makes sure that it can be deciphered in place.
static std::string enciphered(const AesKeys& keys, std::string plain) {
    const std::string before = plain;
    auto* bytes = reinterpret_cast<unsigned char*>(plain.data());
    EXPECT_EQ(encrypt(keys, plain.size(), bytes, bytes), 0);
    const std::string result = support::base64Encode(plain);
    EXPECT_EQ(decrypt(keys, plain.size(), bytes, bytes), 0);
    EXPECT_EQ(plain, before);
    return result;
}

// The texts are those of openssl-enc(1), -aes-128-ecb to -aes-256-ecb with -nopad.
TEST(CredentialCipher, EnciphersEachBlockOnItsOwn) {
    const auto* key = credentialCipher::kCredentialKey.data();
    AesKeys keys{};
    EXPECT_EQ(setKey(keys, key, 16), 0);
    EXPECT_EQ(enciphered(keys, "0123456789abcdef"), "to93z93Y51D4j/Ah1s7BoA==");
    EXPECT_EQ(setKey(keys, key, 24), 0);
    EXPECT_EQ(enciphered(keys, "0123456789abcdef"), "bUSXhTtxp9h00SyeEU4gHw==");
    EXPECT_EQ(setKey(keys, key, 32), 0);
    EXPECT_EQ(
        enciphered(keys, "secret" + std::string(58, '\xff')),
        "FDd0FVhfuR7DcTw7E5abD1axi80qZaD6RbzDpRMBL9NWsYvNKmWg+kW8w6UTAS/TVrGLzSploPpFvMOlEwEv0w==");
}

TEST(CredentialCipher, LeavesOutputAndKeysAloneForALengthThatCannotBe) {
    const auto* key = credentialCipher::kCredentialKey.data();
    AesKeys keys{};
    EXPECT_EQ(setKey(keys, key, 32), 0);
    const AesKeys before = keys;
    for (const int length : {-16, 0, 20, 33, 40}) {
        EXPECT_EQ(setKey(keys, key, length), -1) << length;
        EXPECT_EQ(memcmp(&keys, &before, sizeof keys), 0) << length;
    }
    EXPECT_LT(setKey(keys, nullptr, 32), 0);
    const unsigned char in[80] = {};
    unsigned char out[80] = {};
    for (const size_t length : {0, 1, 63, 65}) {
        const int result = length == 0 ? 0 : -1;
        EXPECT_EQ(encrypt(keys, length, in, out), result);
        EXPECT_EQ(decrypt(keys, length, in, out), result);
        EXPECT_EQ(memcmp(in, out, sizeof in), 0) << length;
    }
}
