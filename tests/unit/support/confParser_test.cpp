// What files of the server, well or badly written, read as; dump() shows all that is held.
#include "support/confParser.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>

using namespace std::string_literals;

namespace {

class ConfParserTest : public ::testing::Test {
  protected:
    void SetUp() override { close(mkstemp(m_path.data())); }
    void TearDown() override { std::filesystem::remove(m_path); }

    int parse(const std::string& text) {
        std::ofstream(m_path, std::ios::binary) << text;
        return m_parser.parseFile(m_path);
    }
    std::string dumped() const {
        testing::internal::CaptureStdout();
        m_parser.dump();
        return testing::internal::GetCapturedStdout();
    }

    std::string m_path = std::filesystem::temp_directory_path() / "conf.XXXXXX";
    ConfParser m_parser;
};

struct Reading {
    const char* name;
    std::string text;
    std::string dump;
};

const Reading kReadings[] = {
    {"empty", "", ""},
    {"no header", "a = 1\nb = 2\n", ""},
    {"one space each side", "[S]\nVersion = 2.0\n", "S\n\t Version = 2.0\n"},
    {"no space keeps the line feed", "[S]\nVersion=2.0\n", "S\n\t Version = 2.0\n\n"},
    {"space on one side", "[S]\nk =v\nl= v\n", "S\n\t k = v\n\t l = v\n"},
    {"one of two spaces stays in the key", "[S]\nk  = v\n", "S\n\t k  = v\n"},
    {"doubled equals sign", "[S]\nk == v\nl==v\n", "S\n\t k = v\n\t l = v\n"},
    {"equals sign inside the value", "[S]\nk = a=b = c\n", "S\n\t k = a=b = c\n"},
    {"empty values", "[S]\na=\nb = \nc =\n", "S\n\t a = \n\n\t b = \n\t c = \n"},
    {"empty keys", "[S]\n  = v\n[T]\n=v", "S\n\t  = v\nT\n\t  = v\n"},
    {"blanks before the key, not tabs", "[S]\n   a = 1\n\tb = 2\n", "S\n\t \tb = 2\n\t a = 1\n"},
    {"carriage returns and trailing spaces", "[S]\na = 1 \r\n", "S\n\t a = 1 \r\n"},
    {"no comments", "[S]\n# a = b\n; nothing\n\n   \n", "S\n\t # a = b\n"},
    {"the last line wins", "[S]\nk = 1\na = 2\nk = 3\n", "S\n\t a = 2\n\t k = 3\n"},
    {"keys in byte order", "[S]\nb = 1\nab = 2\na = 3\nB = 4\n\xc3\xa4 = 5\n",
     "S\n\t B = 4\n\t a = 3\n\t ab = 2\n\t b = 1\n\t \xc3\xa4 = 5\n"},
    {"header names are not trimmed", "  [ S ] rest = x\n[a]b]\n", " S \na\n"},
    {"header behind a tab", "[A]\n\t[S]\nk = 1\n", "A\n\t k = 1\n"},
    {"repeated sections", "[A]\nx = 1\n[B]\n[A]\nx = 2\n", "A\n\t x = 1\nB\nA\n\t x = 2\n"},
    {"nameless section", "[A]\n[]\nx = 1\n[B]\n", "A\nB\n"},
    {"broken header", "[A]\nx = 1\n[B\ny = 2\n", "A\n\t x = 1\nA\n\t x = 1\n\t y = 2\n"},
    {"broken header with an equals sign", "[A]\n[B = 1\n[C]\n", "A\nA\nC\n"},
    {"broken header first", "[B\nx = 1\n[C]\n", "C\n"},
    {"NUL byte ends a line", "[S]\na = 1\0 2\n\0[T]\nb\0 = 1\nc=1\0\n"s, "S\n\t a = 1\n\t c = 1\n"},
    {"long lines in pieces", "[S]\nk=" + std::string(1021, 'v') + "[T]\nx = 1\n",
     "S\n\t k = " + std::string(1021, 'v') + "\nT\n\t x = 1\n"},
    {"piece full to the brim", "[S]\nk=" + std::string(1020, 'v') + "\n[T]\n",
     "S\n\t k = " + std::string(1020, 'v') + "\n\nT\n"},
};

TEST_F(ConfParserTest, ReadsLinesAsTheServerWritesThem) {
    for (const Reading& reading : kReadings) {
        SCOPED_TRACE(reading.name);
        EXPECT_EQ(parse(reading.text), 0);
        EXPECT_EQ(dumped(), reading.dump);
    }
}

TEST_F(ConfParserTest, LooksUpTheFirstSectionExactly) {
    parse("[Torvik]\nVersion = 2.0\n[Other]\n[Torvik]\nVersion = 3\nMore = 1\n");
    EXPECT_EQ(m_parser.getValue("Torvik", "Version"), "2.0");
    EXPECT_EQ(m_parser.getValue("Torvik", "More"), "");
    EXPECT_EQ(m_parser.getValue("torvik", "Version"), "");
    EXPECT_EQ(m_parser.getValue("Torvik", "version"), "");
    EXPECT_EQ(m_parser.getSectionCount(), 3u);
    EXPECT_EQ(m_parser.getSectionName(2), "Torvik");
    EXPECT_EQ(m_parser.getSectionName(3), "");
}

TEST_F(ConfParserTest, StoresInTheFirstSectionOnly) {
    EXPECT_EQ(m_parser.setValue("A", "k", "v"), -1);
    parse("[A]\nm = 1\n[A]\n");
    EXPECT_EQ(m_parser.setValue("B", "k", "v"), -1);
    EXPECT_EQ(m_parser.setValue("A", "m", "2"), 0);
    EXPECT_EQ(m_parser.setValue("A", "a", "cut\0here"s), 0);
    EXPECT_EQ(m_parser.getValue("A", "a"), "cut");
    EXPECT_EQ(dumped(), "A\n\t a = cut\n\t m = 2\nA\n");
}

TEST_F(ConfParserTest, EnabledIsExactlyTrueAndLeavesTheKeyBehind) {
    parse("[on]\nEnable = TRUE\n[low]\nEnable = true\n[feed]\nEnable=TRUE\n[none]\n");
    EXPECT_TRUE(m_parser.isEnabled("on"));
    for (const char* section : {"low", "feed", "none", "missing"}) {
        EXPECT_FALSE(m_parser.isEnabled(section)) << section;
    }
    EXPECT_EQ(dumped(),
              "on\n\t Enable = TRUE\nlow\n\t Enable = true\nfeed\n\t Enable = TRUE\n\n"
              "none\n\t Enable = \n");
}

TEST_F(ConfParserTest, AFileThatCannotBeOpenedLeavesNothing) {
    parse("[A]\nk = v\n");
    testing::internal::CaptureStderr();
    EXPECT_EQ(m_parser.parseFile(m_path + "/missing"), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "[File:confParser][Line:24][Func:int ConfParser::parseFile(const string&)]: "
              "fopen() fail");
    EXPECT_EQ(m_parser.getSectionCount(), 0u);
    EXPECT_EQ(m_parser.getValue("A", "k"), "");
    EXPECT_EQ(m_parser.parseFile("/"), 0) << "a read error is the end of the file";
}

}  // namespace
