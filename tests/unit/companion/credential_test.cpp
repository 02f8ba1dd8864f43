#include "companion/credential.h"

#include <gtest/gtest.h>

namespace companion {

TEST(Credential, KeepsOutWhatWouldNotComeThrough) {
    using enum CredentialForm;
    for (const auto& [form, most] :
         {std::pair{enciphered, 47}, {plainUser, 63}, {plainPassword, 48}}) {
        const std::string longest(static_cast<size_t>(most), 'p');
        EXPECT_EQ(credentialFault(longest, form), "");
        EXPECT_NE(credentialFault(longest + "p", form), "") << most;
        EXPECT_NE(credentialFault("", form), "") << most;
        EXPECT_NE(credentialFault(std::string("a\0b", 3), form), "") << most;
        EXPECT_EQ(credentialFault("a\xFF", form).empty(), form != enciphered) << most;
    }
}

}  // namespace companion
