// What files of the server, well or badly written, read as; dump() shows all that is held.
#include "support/confParser.h"

#include "folderTest.h"

using namespace std::string_literals;

class ConfFile : public FolderTest {};

static std::string dumped(const ConfParser& parser) {
    testing::internal::CaptureStdout();
    parser.dump();
    return testing::internal::GetCapturedStdout();
}

TEST_F(ConfFile, ReadsLinesAsTheServerWritesThem) {
    const std::string wide(1020, 'v');
    const std::tuple<std::string, std::string, std::string> rows[] = {
        {"no header", "a = 1\nb = 2\n", ""},
        {"one space each side", "[S]\nVersion = 2.0\n", "S\n\t Version = 2.0\n"},
        {"no space keeps the line feed", "[S]\nVersion=2.0\n", "S\n\t Version = 2.0\n\n"},
        {"one of two spaces stays in the key", "[S]\nk  = v\n", "S\n\t k  = v\n"},
        {"empty values", "[S]\na=\nb = \nc =\n", "S\n\t a = \n\n\t b = \n\t c = \n"},
        {"blanks, not tabs", "[S]\n   a = 1\n\tb = 2\n", "S\n\t \tb = 2\n\t a = 1\n"},
        {"last line and order", "[S]\nk = 1\na = 2 \r\nk = 3\n", "S\n\t a = 2 \r\n\t k = 3\n"},
        {"header is not trimmed", "  [ S ] rest = x\n[a]b]\n", " S \na\n"},
        {"nameless section", "[A]\n[]\nx = 1\n[B]\n", "A\nB\n"},
        {"broken header", "[A]\nx = 1\n[B = 1\ny = 2\n", "A\n\t x = 1\nA\n\t x = 1\n\t y = 2\n"},
        {"broken headers", "[A]\n[\nx = 1\n[\ny = 2\nx = 3\n",
         "A\nA\n\t x = 1\nA\n\t x = 3\n\t y = 2\n"},
        {"NUL ends a line", "[S]\na = 1\0 2\n\0[T]\nb\0 = 1\n"s, "S\n\t a = 1\n"},
        {"pieces", "[S]\nk=" + wide + "v[T]\nx = 1\n", "S\n\t k = " + wide + "v\nT\n\t x = 1\n"},
    };
    for (const auto& [name, text, dump] : rows) {
        ConfParser parser;
        EXPECT_EQ(parser.parseFile(write("file", text)), 0);
        EXPECT_EQ(dumped(parser), dump) << name;
    }
}

TEST_F(ConfFile, LooksUpAndStoresInTheFirstSection) {
    ConfParser parser;
    EXPECT_EQ(parser.setValue("A", "k", "v"), -1);
    parser.parseFile(write("file", "[A]\nm = 1\n[B]\n[A]\nm = 3\nMore = 1\n"));
    EXPECT_EQ(parser.getValue("A", "m"), "1");
    for (const auto& [section, key] : {std::pair{"A", "More"}, {"a", "m"}, {"A", "M"}}) {
        EXPECT_EQ(parser.getValue(section, key), "") << section << key;
    }
    EXPECT_EQ(parser.getSectionCount(), 3U);
    EXPECT_EQ(parser.getSectionName(2) + parser.getSectionName(3), "A");
    EXPECT_EQ(parser.setValue("A", "m", "2"), 0);
    EXPECT_EQ(parser.setValue("A", "a", "cut\0here"s), 0);
    EXPECT_EQ(parser.getValue("A", "a"), "cut");
    EXPECT_EQ(dumped(parser), "A\n\t a = cut\n\t m = 2\nB\nA\n\t More = 1\n\t m = 3\n");
}

TEST_F(ConfFile, AFileThatCannotBeOpenedLeavesNothing) {
    ConfParser parser;
    parser.parseFile(write("file", "[A]\nk = v\n"));
    testing::internal::CaptureStderr();
    EXPECT_EQ(parser.parseFile("/nonexistent"), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[File:confParser][Line:24][Func:int ConfParser::parseFile(const string&)]: "
              "fopen() fail");
    EXPECT_EQ(parser.getValue("A", "k") + dumped(parser), "");
    for (const char* path : {"/", "/dev/zero"}) {
        EXPECT_EQ(parser.parseFile(path), -1) << path;
    }
}
