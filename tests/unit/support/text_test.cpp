// The command runner's small helpers: text, lines of any length, words.
#include "support/text.h"
#include "commandTestTools.h"
#include "support/process/wordSplit.h"
#include "support/userIds.h"

class Text : public CommandTest {};

TEST_F(Text, TrimsInPlace) {
    char text[] = "\t a b \v\r\n";
    EXPECT_EQ(chomp_line(text), 1);
    EXPECT_STREQ(rtrim_blanks(text), "\t a b \v");
    EXPECT_STREQ(skip_blanks(text), "a b \v");
    char wide[] = "\r\n a b\v\t\n";
    trim_whitespace(wide);
    EXPECT_STREQ(wide, "a b\v");
}

TEST_F(Text, FindsUsersAndGroups) {
    EXPECT_TRUE(uid_by_name("root") == 0 && uid_by_name("ROOT") == -1 && gid_by_name("root") == 0);
    const std::string others(20000, 'g');
    const std::string file =
        write("passwd", "broken\nFirst:x:500:1:" + others + ":/:\nlast:x:502:1::/:\n");
    EXPECT_EQ(uid_by_name_in_file("FIRST", file.c_str()), 500);
    EXPECT_EQ(uid_by_name_in_file("last", file.c_str()), 502);
    EXPECT_EQ(uid_by_name_in_file("root", path("missing").c_str()), -1);
}

TEST_F(Text, ReadsLinesOfAnyLength) {
    Words lines;
    std::string text;
    for (size_t length : {0, 1, 4093, 4094, 4095, 4096, 8189, 8190, 8191, 20000}) {
        lines.emplace_back(length, static_cast<char>('a' + lines.size()));
        // By turns, so that a line feed and a CR LF each meet the edge of a chunk.
        text += lines.back() + "\n" + lines.back() + "\r\n";
    }
    FILE* stream = fopen(write("lines", text + "no newline").c_str(), "r");
    for (const std::string& line : lines) {
        EXPECT_EQ(read_long_line(stream), line);
        EXPECT_EQ(read_long_line(stream), line);
    }
    EXPECT_STREQ(read_long_line(stream), "no newline");
    EXPECT_EQ(read_long_line(stream), nullptr);
    fclose(stream);
}

TEST(WordSplit, CutsAtBlanksOutsideQuotes) {
    const std::pair<const char*, Words> rows[] = {
        {"  a  bc d ", {"a", "bc", "d"}},
        {"'a b' \"c d\"", {"a b", "c d"}},
        {"a'b c'd", {"ab cd"}},
        {"'' a \"\"", {"", "a", ""}},
        {"'never closed |", {"never closed |"}},
        {"a\\ b \\'c \\\\ \\", {"a b", "'c", "\\"}},
        {"a|b | c & d", {"a|b", "|", "c", "&", "d"}},
        // A single quote inside a pasted value ends its word there.
        {"/bin/echo 'a'b c' | d", {"/bin/echo", "ab", "c | d"}},
    };
    for (const auto& [text, words] : rows) {
        EXPECT_EQ(support::splitWords(text), words) << text;
    }
    const std::string_view zero("a\0'b", 4);
    EXPECT_EQ(support::splitWords(zero), Words{std::string("a\0b", 3)});
}
