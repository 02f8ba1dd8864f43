// The command runner's small helpers: text, lines of any length, names of users and groups.
#include <fcntl.h>

#include <cstring>
#include <thread>

#include "commandTestTools.h"

namespace {

class CommandText : public CommandTest {};

TEST_F(CommandText, TrimsInPlace) {
    const struct {
        const char* text;
        const char* trimmed;
        const char* rightTrimmed;
        const char* skipped;
        const char* chomped;
    } rows[] = {
        {"", "", "", "", ""},
        {" \t\r\n ", "", " \t\r\n", "\r\n ", " \t\r\n "},
        {"\t a b \r\n", "a b", "\t a b \r\n", "a b \r\n", "\t a b "},
        {"a \t", "a", "a", "a \t", "a \t"},
        {"\va\f", "\va\f", "\va\f", "\va\f", "\va\f"},
        {"a\r\r\n", "a", "a\r\r\n", "a\r\r\n", "a\r"},
        {"a\n\n", "a", "a\n\n", "a\n\n", "a\n"},
        {"a\r", "a", "a\r", "a\r", "a\r"},
        {"\n", "", "\n", "\n", ""},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.text));
        char buffer[32];
        trim_whitespace(strcpy(buffer, row.text));
        EXPECT_STREQ(buffer, row.trimmed);
        EXPECT_STREQ(rtrim_blanks(strcpy(buffer, row.text)), row.rightTrimmed);
        EXPECT_STREQ(skip_blanks(strcpy(buffer, row.text)), row.skipped);
        const bool hasNewline = std::string(row.text).ends_with('\n');
        EXPECT_EQ(ends_with_newline(row.text), hasNewline ? 1 : 0);
        EXPECT_EQ(chomp_line(strcpy(buffer, row.text)), hasNewline ? 1 : 0);
        EXPECT_STREQ(buffer, row.chomped);
    }
}

TEST_F(CommandText, ReleasesOnceAndResets) {
    int fd = open("/dev/null", O_RDONLY);
    const int number = fd;
    void* memory = concat_alloc("a", "b");
    FILE* stream = fopen("/dev/null", "r");
    EXPECT_STREQ(static_cast<char*>(memory), "ab");
    for (int round = 0; round < 2; ++round) {
        close_fd_reset(&fd);
        free_reset(&memory);
        fclose_reset(&stream);
        EXPECT_EQ(fd, -1);
        EXPECT_EQ(memory, nullptr);
        EXPECT_EQ(stream, nullptr);
    }
    EXPECT_EQ(fcntl(number, F_GETFD), -1);
    close_fd_reset(nullptr);
    free_reset(nullptr);
    fclose_reset(nullptr);
}

TEST_F(CommandText, MakesTemporaryFiles) {
    std::string name = path("tempXXXXXX");
    EXPECT_EQ(make_temp_file(name.data()), 0);
    EXPECT_TRUE(std::filesystem::is_empty(name));
    std::string missing = path("missing/tempXXXXXX");
    EXPECT_EQ(make_temp_file(missing.data()), -1);
    EXPECT_EQ(make_temp_file(nullptr), -1);
}

TEST_F(CommandText, ReadsLinesOfAnyLength) {
    Words lines;
    std::string text;
    for (size_t length : {0, 1, 4093, 4094, 4095, 4096, 8189, 8190, 8191, 20000}) {
        lines.emplace_back(length, static_cast<char>('a' + lines.size()));
        // By turns, so that a line feed and a CR LF each meet the edge of a chunk.
        text += lines.back() + "\n" + lines.back() + "\r\n";
    }
    write("lines", text + "no newline");
    FILE* stream = fopen(path("lines").c_str(), "r");
    for (const std::string& line : lines) {
        EXPECT_EQ(read_long_line(stream), line);
        EXPECT_EQ(read_long_line(stream), line);
    }
    EXPECT_STREQ(read_long_line(stream), "no newline");
    EXPECT_EQ(read_long_line(stream), nullptr);
    rewind(stream);
    for (size_t skipped = 0; skipped < 2 * lines.size(); ++skipped) {
        skip_rest_of_line(stream);
    }
    // Another thread's lines leave this one's alone.
    const char* mine = read_long_line(stream);
    std::thread([this] {
        FILE* other = fopen(path("lines").c_str(), "r");
        while (read_long_line(other) != nullptr) {
        }
        fclose(other);
    }).join();
    EXPECT_STREQ(mine, "no newline");
    fclose(stream);
}

TEST_F(CommandText, FindsUsersAndGroups) {
    EXPECT_EQ(uid_by_name("root"), 0);
    EXPECT_EQ(uid_by_name("ROOT"), -1);
    EXPECT_EQ(gid_by_name("root"), 0);
    EXPECT_EQ(gid_by_name("no such group"), -1);
    write("passwd", "first:x:500:100::/:/bin/sh\nbroken line\nlong:x:501:100:" +
                        std::string(20000, 'g') + ":/:/bin/sh\nLast:x:502:100::/:/bin/sh\n");
    const struct {
        const char* name;
        int uid;
    } rows[] = {{"first", 500}, {"FIRST", 500}, {"long", 501}, {"last", 502}, {"root", -1}};
    for (const auto& row : rows) {
        EXPECT_EQ(uid_by_name_in_file(row.name, path("passwd").c_str()), row.uid) << row.name;
    }
    EXPECT_EQ(uid_by_name_in_file("root", path("missing").c_str()), -1);
}

}  // namespace
