#include "client/credential.h"

#include <gtest/gtest.h>

#include "support/base64.h"

namespace client {
namespace {

// From: (printf anna; head -c 60 /dev/zero | tr '\0' '\377') |
//       openssl enc -aes-256-ecb -nopad -K $KEY | base64 -w 0
TEST(CredentialBlock, IsWhatOtherToolsEncipher) {
    EXPECT_EQ(
        support::base64Encode(credentialBlock("anna")),
        "N0NEeUdnIrP8Cv1A36OKOlaxi80qZaD6RbzDpRMBL9NWsYvNKmWg+kW8w6UTAS/TVrGLzSploPpFvMOlEwEv0w==");
    EXPECT_EQ(
        support::base64Encode(credentialBlock("0123456789abcdef")),
        "jJLAdEtuJzjer1Iyeu4UNlaxi80qZaD6RbzDpRMBL9NWsYvNKmWg+kW8w6UTAS/TVrGLzSploPpFvMOlEwEv0w==");
}

TEST(CredentialFault, KeepsOutWhatWouldNotComeThrough) {
    struct {
        std::string value;
        credentialForm_t form;
        const char* fault;
    } const rows[] = {
        {std::string(47, 'p'), credentialForm_t::enciphered, ""},
        {std::string(48, 'p'), credentialForm_t::enciphered, "has 48 bytes; at most 47"},
        {std::string(63, 'u'), credentialForm_t::plainUser, ""},
        {std::string(64, 'u'), credentialForm_t::plainUser, "has 64 bytes; at most 63"},
        {std::string(48, 'p'), credentialForm_t::plainPassword, ""},
        {std::string(49, 'p'), credentialForm_t::plainPassword, "has 49 bytes; at most 48"},
        {"", credentialForm_t::enciphered, "is empty"},
        {std::string("a\0b", 3), credentialForm_t::plainPassword, "NUL"},
        {"a\xFF", credentialForm_t::enciphered, "0xFF"},
        {"a\xFF", credentialForm_t::plainPassword, ""},
        {"gr\xC3\xBC\xC3\x9F", credentialForm_t::enciphered, ""},
    };
    for (const auto& row : rows) {
        const std::string fault = credentialFault(row.value, row.form);
        EXPECT_EQ(fault.empty(), *row.fault == '\0') << row.value << ": " << fault;
        EXPECT_NE(fault.find(row.fault), std::string::npos) << row.value << ": " << fault;
    }
}

}  // namespace
}  // namespace client
