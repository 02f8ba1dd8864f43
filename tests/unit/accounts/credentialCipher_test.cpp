#include "accounts/credentialCipher.h"

#include <gtest/gtest.h>

#include <cstring>

#include "support/base64.h"

using credentialCipher::decrypt;
using credentialCipher::encrypt;
using credentialCipher::setKey;

// The texts are those of openssl-enc(1), -aes-128-ecb to -aes-256-ecb with -nopad.
TEST(CredentialCipher, EnciphersEachBlockOnItsOwnAndInPlace) {
    const std::string plain = "0123456789abcdef0123456789abcdef";
    const std::pair<int, std::string> rows[] = {{16, "to93z93Y51D4j/Ah1s7BoA=="},
                                                {24, "bUSXhTtxp9h00SyeEU4gHw=="},
                                                {32, "jJLAdEtuJzjer1Iyeu4UNg=="}};
    for (const auto& [keyLength, block] : rows) {
        AesKeys keys{};
        EXPECT_EQ(setKey(keys, credentialCipher::kCredentialKey.data(), keyLength), 0);
        std::string text = plain;
        auto* bytes = reinterpret_cast<unsigned char*>(text.data());
        EXPECT_EQ(encrypt(keys, 32, bytes, bytes), 0);
        EXPECT_EQ(support::base64Encode(text.substr(0, 16)), block);
        EXPECT_EQ(text.substr(0, 16), text.substr(16));
        EXPECT_EQ(decrypt(keys, 32, bytes, bytes), 0);
        EXPECT_EQ(text, plain);
    }
}

TEST(CredentialCipher, RefusesLengthsThatCannotBe) {
    const auto* key = credentialCipher::kCredentialKey.data();
    AesKeys keys{};
    EXPECT_EQ(setKey(keys, key, 32), 0);
    for (const int length : {-16, 0, 20, 33, 40}) {
        EXPECT_EQ(setKey(keys, key, length), -1) << length;
    }
    EXPECT_LT(setKey(keys, nullptr, 32), 0);
    const unsigned char in[80]{};
    unsigned char out[80]{};
    for (const size_t length : {0, 1, 63, 65}) {
        const int result = length == 0 ? 0 : -1;
        EXPECT_EQ(encrypt(keys, length, in, out), result);
        EXPECT_EQ(decrypt(keys, length, in, out), result);
        EXPECT_EQ(memcmp(in, out, sizeof in), 0) << length;
    }
}
