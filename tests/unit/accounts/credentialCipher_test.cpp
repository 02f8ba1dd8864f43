#include "accounts/credentialCipher.h"

#include <gtest/gtest.h>

#include <cstring>
#include <vector>

namespace {

using Bytes = std::vector<unsigned char>;

Bytes counting(size_t size, int step) {
    Bytes bytes;
    for (size_t i = 0; i < size; ++i) {
        bytes.push_back(static_cast<unsigned char>(i * static_cast<size_t>(step)));
    }
    return bytes;
}

AesKeys keysOf(const Bytes& key) {
    AesKeys keys{};
    EXPECT_EQ(credentialCipher::setKey(keys, key.data(), static_cast<int>(key.size())), 0);
    return keys;
}

// FIPS 197, appendix C.
TEST(CredentialCipher, GivesTheExampleVectorsOfTheStandard) {
    const Bytes plain = counting(16, 0x11);
    const struct {
        size_t keySize;
        Bytes enciphered;
    } rows[] = {
        {16,
         {0x69, 0xc4, 0xe0, 0xd8, 0x6a, 0x7b, 0x04, 0x30, 0xd8, 0xcd, 0xb7, 0x80, 0x70, 0xb4, 0xc5,
          0x5a}},
        {24,
         {0xdd, 0xa9, 0x7c, 0xa4, 0x86, 0x4c, 0xdf, 0xe0, 0x6e, 0xaf, 0x70, 0xa0, 0xec, 0x0d, 0x71,
          0x91}},
        {32,
         {0x8e, 0xa2, 0xb7, 0xca, 0x51, 0x67, 0x45, 0xbf, 0xea, 0xfc, 0x49, 0x90, 0x4b, 0x49, 0x60,
          0x89}},
    };
    for (const auto& row : rows) {
        const AesKeys keys = keysOf(counting(row.keySize, 1));
        Bytes bytes(16);
        EXPECT_EQ(credentialCipher::encrypt(keys, 16, plain.data(), bytes.data()), 0);
        EXPECT_EQ(bytes, row.enciphered) << row.keySize;
        EXPECT_EQ(credentialCipher::decrypt(keys, 16, bytes.data(), bytes.data()), 0);
        EXPECT_EQ(bytes, plain) << row.keySize;
    }
}

TEST(CredentialCipher, EnciphersTheBlocksOfACredentialEachOnItsOwnAndInPlace) {
    const AesKeys keys = keysOf(
        Bytes(credentialCipher::kCredentialKey.begin(), credentialCipher::kCredentialKey.end()));
    Bytes plain(credentialCipher::kCredentialBlockSize, 0xff);
    memcpy(plain.data(), "secret", 6);
    Bytes bytes = plain;
    EXPECT_EQ(credentialCipher::encrypt(keys, bytes.size(), bytes.data(), bytes.data()), 0);
    const auto block = [&bytes](int i) {
        return Bytes(bytes.begin() + i * 16, bytes.begin() + (i + 1) * 16);
    };
    // A filler block under the companion apps' key, by `openssl enc -aes-256-ecb -nopad`.
    const Bytes filler = {0x56, 0xb1, 0x8b, 0xcd, 0x2a, 0x65, 0xa0, 0xfa,
                          0x45, 0xbc, 0xc3, 0xa5, 0x13, 0x01, 0x2f, 0xd3};
    EXPECT_NE(block(0), filler);
    EXPECT_EQ(block(1), filler);
    EXPECT_EQ(block(2), filler);
    EXPECT_EQ(block(3), filler);
    EXPECT_EQ(credentialCipher::decrypt(keys, bytes.size(), bytes.data(), bytes.data()), 0);
    EXPECT_EQ(bytes, plain);
}

TEST(CredentialCipher, LeavesTheOutputAloneForALengthThatIsNotWholeBlocks) {
    const AesKeys keys = keysOf(counting(32, 1));
    const Bytes in = counting(80, 1);
    const struct {
        size_t length;
        int result;
    } rows[] = {{0, 0}, {1, -1}, {15, -1}, {63, -1}, {65, -1}};
    for (const auto& row : rows) {
        Bytes out(80, 0xaa);
        EXPECT_EQ(credentialCipher::encrypt(keys, row.length, in.data(), out.data()), row.result);
        EXPECT_EQ(credentialCipher::decrypt(keys, row.length, in.data(), out.data()), row.result);
        EXPECT_EQ(out, Bytes(80, 0xaa)) << row.length;
    }
}

TEST(CredentialCipher, LeavesTheKeysAloneForAKeyThatCannotBe) {
    const AesKeys before = keysOf(counting(32, 1));
    const Bytes other = counting(40, 3);
    for (const int length : {-16, 0, 15, 20, 31, 33, 128, 256}) {
        AesKeys keys = before;
        EXPECT_EQ(credentialCipher::setKey(keys, other.data(), length), -1) << length;
        EXPECT_EQ(memcmp(&keys, &before, sizeof keys), 0) << length;
    }
    AesKeys keys = before;
    EXPECT_LT(credentialCipher::setKey(keys, nullptr, 32), 0);
}

}  // namespace
