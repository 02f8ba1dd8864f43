#include "client/output.h"

#include <gtest/gtest.h>

#include <clocale>

#include "client/safeText.h"
#include "support/utf8.h"

namespace client {

TEST(SafeText, ReplacesWhatCouldSteerATerminal) {
    const std::string bad = "\xEF\xBF\xBD";
    const std::pair<std::string, std::string> rows[] = {
        {"\xC3\xA9 \xE6\x97\xA5 \xF0\x9F\x93\xBA", "\xC3\xA9 \xE6\x97\xA5 \xF0\x9F\x93\xBA"},
        {"\033[31m\r\n\t", bad + "[31m" + bad + bad + bad},
        {std::string("a\0b\x7F", 4), "a" + bad + "b" + bad},
        {"\xC2\x9B;31m", bad + ";31m"},                  // CSI as one C1 control
        {"\xE2\x80\xAE;\xE2\x80\xA8", bad + ";" + bad},  // right-to-left override, line separator
        {"\xC0\x8A", bad + bad},                         // line feed in two bytes
        {"\xF4\x90\x80\x80", bad + bad + bad + bad},     // above U+10FFFF
    };
    for (const auto& [text, safe] : rows) {
        EXPECT_EQ(safeText(text), safe);
    }
    EXPECT_EQ(safeText("a\n\tb\033", Controls::lineFeedAndTab), "a\n\tb" + bad);
    EXPECT_TRUE(support::isUtf8(bad) && !support::isUtf8("\x89PNG"));
}

TEST(AlignedTable, MeasuresCellsAsTheyShow) {
    setlocale(LC_CTYPE, "C.UTF-8");
    const std::vector<Row> rows = {{"NAME", "T"}, {"\xE6\x97\xA5", "\xC3\xA9"}, {"long name", ""}};
    EXPECT_EQ(alignedTable(rows, true),
              "\033[1mNAME       T\033[m\n\xE6\x97\xA5         \xC3\xA9\nlong name\n");
}

}  // namespace client
