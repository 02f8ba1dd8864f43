#include "support/base64.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace std::string_literals;

TEST(Base64, GivesTheVectorsOfRfc4648AndTakesThemBack) {
    const struct {
        std::string bytes, text;
    } rows[] = {
        {"", ""},          {"f", "Zg=="},          {"fo", "Zm8="},
        {"foo", "Zm9v"},   {"foob", "Zm9vYg=="},   {"fooba", "Zm9vYmE="},
        {"\0\0"s, "AAA="}, {"foobar", "Zm9vYmFy"}, {"\xfb\xef\xbe\xff\xff\xff", "++++////"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(support::base64Encode(row.bytes), row.text);
        EXPECT_EQ(support::base64Decode(row.text), row.bytes) << row.text;
    }
}

TEST(Base64, SkipsPaddingAnywhereAndRefusesOtherCharacters) {
    const struct {
        const char* guards;
        std::string text, bytes;
    } rows[] = {
        {"padding left out", "Zm8", "fo"},
        {"padding in front and in the middle", "=Zm=9=v", "foo"},
        {"bits go on behind padding", "Zg==Zg==", "f\x06`"},
        {"a single character fills no byte", "Z", ""},
        {"line end", "Zm9v\n", ""},
        {"blank", "Zm 9v", ""},
        {"alphabet of URLs", "-_-_", ""},
        {"NUL byte", "Zm9v\0"s, ""},
        {"byte above ASCII", "Zm9v\xc3", ""},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(support::base64Decode(row.text), row.bytes) << row.guards;
    }
}

}  // namespace
