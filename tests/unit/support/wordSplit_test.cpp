// Cutting command texts into words.
#include "support/wordSplit.h"

#include <gtest/gtest.h>

namespace {

TEST(WordSplit, CutsAtBlanksOutsideQuotes) {
    const struct {
        const char* text;
        std::vector<std::string> words;
    } rows[] = {
        {"", {}},
        {"   ", {}},
        {"  a  bc d ", {"a", "bc", "d"}},
        {"a\tb\nc", {"a\tb\nc"}},
        {"'a b' \"c d\"", {"a b", "c d"}},
        {"a'b c'd", {"ab cd"}},
        {"'' a \"\"", {"", "a", ""}},
        {"'a\"b' \"c'd\"", {"a\"b", "c'd"}},
        {"'never closed |", {"never closed |"}},
        {"a\\ b \\'c \\\\", {"a b", "'c", "\\"}},
        {"'it\\'s' \"\\\"\"", {"it's", "\""}},
        {"lone \\", {"lone"}},
        {"a|b | c & d", {"a|b", "|", "c", "&", "d"}},
        {"/bin/echo 'dGV4dA==' | /usr/bin/base64 -d",
         {"/bin/echo", "dGV4dA==", "|", "/usr/bin/base64", "-d"}},
        {"/usr/bin/md5sum /etc/config/vexa.conf | /usr/bin/awk '{print $1}'",
         {"/usr/bin/md5sum", "/etc/config/vexa.conf", "|", "/usr/bin/awk", "{print $1}"}},
        // A single quote inside a pasted value ends its word there.
        {"/bin/echo 'a'b c' | d", {"/bin/echo", "ab", "c | d"}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(support::splitWords(row.text), row.words) << row.text;
    }
    EXPECT_EQ(support::splitWords(std::string_view("a\0'b", 4)),
              std::vector<std::string>{std::string("a\0b", 3)});
}

}  // namespace
