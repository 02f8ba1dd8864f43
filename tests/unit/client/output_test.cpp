#include "client/output.h"

#include <gtest/gtest.h>

#include <clocale>

#include "client/safeText.h"

namespace client {
namespace {

TEST(SafeText, ReplacesWhatCouldSteerATerminal) {
    const std::string bad = "\xEF\xBF\xBD";
    struct {
        std::string text;
        std::string safe;
    } const rows[] = {
        {"plain \xC3\xA9 \xE6\x97\xA5 \xF0\x9F\x93\xBA",
         "plain \xC3\xA9 \xE6\x97\xA5 \xF0\x9F\x93\xBA"},
        {"\033[31mred", bad + "[31mred"},
        {"a\r\n\tb", "a" + bad + bad + bad + "b"},
        {std::string("a\0b\x7F", 4), "a" + bad + "b" + bad},
        {"\xC2\x9B"
         "31m",
         bad + "31m"},  // CSI as one C1 control
        {"\xE2\x80\xAE"
         "txt.exe",
         bad + "txt.exe"},                            // right-to-left override
        {"\xE2\x80\xA8", bad},                        // line separator
        {"\xC0\x8A", bad + bad},                      // line feed in two bytes
        {"\xED\xA0\x80", bad + bad + bad},            // a surrogate
        {"\xF4\x90\x80\x80", bad + bad + bad + bad},  // above U+10FFFF
        {"cut \xE6\x97", "cut " + bad + bad},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(safeText(row.text), row.safe);
        EXPECT_TRUE(isUtf8(safeText(row.text)));
    }
    EXPECT_EQ(safeText("a\n\tb\033", controls_t::lineFeedAndTab), "a\n\tb" + bad);
    EXPECT_FALSE(isUtf8("\x89PNG"));
}

TEST(AlignedTable, MeasuresCellsAsTheyShow) {
    setlocale(LC_CTYPE, "C.UTF-8");
    const std::vector<row_t> rows = {
        {"NAME", "TITLE", "PID"},
        {"\xE6\x97\xA5\xE6\x9C\xAC", "\xC3\xA9t\xC3\xA9", "12"},
        {"toolong", "", "3"},
        {"x", "y", ""},
    };
    EXPECT_EQ(alignedTable(rows, false),
              "NAME     TITLE  PID\n"
              "\xE6\x97\xA5\xE6\x9C\xAC     \xC3\xA9t\xC3\xA9    12\n"
              "toolong         3\n"
              "x        y\n");
    EXPECT_EQ(alignedTable({{"A", "B"}, {"1", "2"}}, true), "\033[1mA  B\033[m\n1  2\n");
    EXPECT_EQ(alignedTable({}, true), "");
}

}  // namespace
}  // namespace client
