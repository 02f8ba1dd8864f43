#include "agent/windows.h"

#include <gtest/gtest.h>

#include <string>

TEST(WindowId, IsTheHexadecimalNumberBehindItsPrefix) {
    const std::pair<std::string, unsigned int> rows[] = {
        {"0x01e0000a", 0x01e0000a},
        {"0xffffffff", 0xffffffff},
        {"0x1f\n\n", 0x1f0},  // one line feed is dropped, a second counts as a digit of no value
        {"0x", 0},
        {"0", 0},
        {"0x1G", 0x10},                              // no digit has no value
        {"0x" + std::string(124, '0') + "12", 0x1},  // 127 characters count
    };
    for (const auto& [text, number] : rows) {
        EXPECT_EQ(parseWindowId(text.c_str()), number) << text;
    }
}
