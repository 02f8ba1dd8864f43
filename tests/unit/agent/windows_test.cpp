#include "agent/windows.h"

#include <gtest/gtest.h>

#include <string>

namespace {

TEST(WindowId, IsTheHexadecimalNumberBehindItsPrefix) {
    const struct {
        std::string text;
        unsigned int number;
    } cases[] = {
        {"0x01e0000a", 0x01e0000a},
        {"0xffffffff", 0xffffffff},
        {"0x1f\n", 0x1f},     // one line feed is dropped
        {"0x1f\n\n", 0x1f0},  // a second one counts as a digit of no value
        {"0x", 0},            // nothing behind the prefix
        {"0", 0},             // shorter than the prefix
        {"", 0},
        {"0x1G", 0x10},                              // no digit has no value
        {"0x" + std::string(124, '0') + "12", 0x1},  // 127 characters count
    };
    for (const auto& row : cases) {
        EXPECT_EQ(parseWindowId(row.text.c_str()), row.number) << row.text;
    }
}

}  // namespace
