#include "accounts/credentialCipher.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

Bytes fromHex(const std::string& text) {
    Bytes bytes;
    for (size_t i = 0; i < text.size(); i += 2) {
        bytes.push_back(static_cast<unsigned char>(std::stoi(text.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

const Bytes kLongKey =
    fromHex("000102030405060708090a0b0c0d0e0f101112131415161718191a1b1c1d1e1f2021222324252627");

// FIPS 197, appendix C.
TEST(CredentialCipher, GivesTheExampleVectorsOfTheStandard) {
    const Bytes plain = fromHex("00112233445566778899aabbccddeeff");
    const struct {
        int keySize;
        const char* enciphered;
    } rows[] = {
        {16, "69c4e0d86a7b0430d8cdb78070b4c55a"},
        {24, "dda97ca4864cdfe06eaf70a0ec0d7191"},
        {32, "8ea2b7ca516745bfeafc49904b496089"},
    };
    for (const auto& row : rows) {
        AesKeys keys{};
        EXPECT_EQ(credentialCipher::setKey(keys, kLongKey.data(), row.keySize), 0);
        Bytes bytes(16);
        EXPECT_EQ(credentialCipher::encrypt(keys, 16, plain.data(), bytes.data()), 0);
        EXPECT_EQ(bytes, fromHex(row.enciphered));
        EXPECT_EQ(credentialCipher::decrypt(keys, 16, bytes.data(), bytes.data()), 0);
        EXPECT_EQ(bytes, plain);
    }
}

TEST(CredentialCipher, EnciphersEachBlockOfACredentialOnItsOwnAndInPlace) {
    AesKeys keys{};
    EXPECT_EQ(credentialCipher::setKey(keys, credentialCipher::kCredentialKey.data(), 32), 0);
    Bytes bytes(credentialCipher::kCredentialBlockSize, 0xff);
    memcpy(bytes.data(), "secret", 6);
    const Bytes plain = bytes;
    EXPECT_EQ(credentialCipher::encrypt(keys, bytes.size(), bytes.data(), bytes.data()), 0);
    // Of openssl-enc(1) with the companion apps' key.
    const Bytes first = fromHex("14377415585fb91ec3713c3b13969b0f");
    const Bytes filler = fromHex("56b18bcd2a65a0fa45bcc3a513012fd3");
    Bytes expected = first;
    for (int i = 0; i < 3; ++i) {
        expected.insert(expected.end(), filler.begin(), filler.end());
    }
    EXPECT_EQ(bytes, expected);
    EXPECT_EQ(credentialCipher::decrypt(keys, bytes.size(), bytes.data(), bytes.data()), 0);
    EXPECT_EQ(bytes, plain);
}

TEST(CredentialCipher, LeavesOutputAndKeysAloneForALengthThatCannotBe) {
    AesKeys keys{};
    EXPECT_EQ(credentialCipher::setKey(keys, kLongKey.data(), 32), 0);
    const AesKeys before = keys;
    for (const int length : {-16, 0, 20, 33, 40}) {
        EXPECT_EQ(credentialCipher::setKey(keys, kLongKey.data() + 1, length), -1) << length;
        EXPECT_EQ(memcmp(&keys, &before, sizeof keys), 0) << length;
    }
    EXPECT_LT(credentialCipher::setKey(keys, nullptr, 32), 0);
    const Bytes in(80);
    Bytes out(80, 0xaa);
    for (const size_t length : {0, 1, 63, 65}) {
        const int result = length == 0 ? 0 : -1;
        EXPECT_EQ(credentialCipher::encrypt(keys, length, in.data(), out.data()), result);
        EXPECT_EQ(credentialCipher::decrypt(keys, length, in.data(), out.data()), result);
        EXPECT_EQ(out, Bytes(80, 0xaa)) << length;
    }
}

}  // namespace
