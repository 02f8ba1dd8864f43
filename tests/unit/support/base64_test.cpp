#include "support/base64.h"

#include <gtest/gtest.h>

#include <string>

using namespace std::string_literals;

TEST(Base64, GivesTheVectorsOfRfc4648AndTakesThemBack) {
    const std::pair<std::string, std::string> rows[] = {{"", ""},
                                                        {"f", "Zg=="},
                                                        {"fo", "Zm8="},
                                                        {"foo", "Zm9v"},
                                                        {"foob", "Zm9vYg=="},
                                                        {"\0\0"s, "AAA="},
                                                        {"\xfb\xef\xbe\xff\xff\xff", "++++////"}};
    for (const auto& [bytes, text] : rows) {
        EXPECT_EQ(support::base64Encode(bytes), text);
        EXPECT_EQ(support::base64Decode(text), bytes);
    }
    // Padding is skipped anywhere or left out; one character fills no byte; all else is refused.
    const std::pair<std::string, std::string> oddities[] = {
        {"Zm8", "fo"}, {"=Zm=9=v", "foo"}, {"Zg==Zg==", "f\x06`"}, {"Z", ""},       {"Zm9v\n", ""},
        {"Zm 9v", ""}, {"-_-_", ""},       {"Zm9v\0"s, ""},        {"Zm9v\xc3", ""}};
    for (const auto& [text, bytes] : oddities) {
        EXPECT_EQ(support::base64Decode(text), bytes) << text;
    }
}
