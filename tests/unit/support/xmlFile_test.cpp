// Documents in files, their encodings, and base64 texts in documents.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>

#include "xmlTesting.h"

namespace {

using namespace std::string_literals;
using enum XMLEncoding;

class Files : public testing::Test {
  protected:
    Files() { std::filesystem::create_directory(m_folder); }
    ~Files() override { std::filesystem::remove_all(m_folder); }

    const char* file(const std::string& content) const {
        std::ofstream(m_path, std::ios::binary) << content;
        return m_path.c_str();
    }

    const std::string m_folder = testing::TempDir() + "/xmlFile." + std::to_string(getpid());
    const std::string m_path = m_folder + "/document.xml";
    const SettingsGuard m_guard;
};

TEST_F(Files, AreParsedLikeTexts) {
    const struct {
        std::string content;
        int code;
        int column;
        const char* result;
    } rows[] = {
        {"\xEF\xBB\xBF<?x?>\n<kallo/>\n", 0, 0, "<kallo/>"},
        {"\xEF\xBB\xBF<KALLO></x>", 6, 8, "(none)"},  // columns count from behind the mark
        {"\xEF\xBB\xBF", 11, 0, "(none)"},
        {"", 3, 0, "(none)"},
        {"<KALLO/>\xF0", 0, 0, "<KALLO/>"},
    };
    for (const auto& row : rows) {
        XMLResults results{};
        EXPECT_EQ(written(XMLNode::parseXMLFile(file(row.content), "KALLO", &results)), row.result);
        EXPECT_EQ(static_cast<int>(results.error), row.code) << row.content;
        EXPECT_EQ(results.column, row.column) << row.content;
    }
}

TEST_F(Files, ThatCannotBeReadAreNotFound) {
    const std::string pipe = m_folder + "/pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);  // must not wait for somebody to write
    for (const std::string& path : {m_folder + "/none", m_folder, pipe}) {
        XMLResults results{};
        EXPECT_TRUE(XMLNode::parseXMLFile(path.c_str(), nullptr, &results).isEmpty());
        EXPECT_EQ(results.error, XMLError::fileNotFound) << path;
    }
}

TEST_F(Files, AreOpenedAndWrittenInTheirOwnEncoding) {
    std::string report;
    EXPECT_TRUE(XMLNode::openDocument(file("<b/>"), "a", &report).isEmpty());
    EXPECT_EQ(report, "XML Parsing error inside file '" + m_path +
                          "'.\nError: First Tag not found\nAt line 0, column 0.\n"
                          "First Tag should be 'a'");
    const std::string latin = "<?xml version=\"1.0\" encoding=\"latin1\"?>\n<a>\n\t\xE9\n</a>\n";
    const XMLNode document = XMLNode::openDocument(file(latin), nullptr);
    EXPECT_EQ(XMLNode::settings().encoding, XMLEncoding::singleByte);
    const auto stored = [this](const XMLNode& node) {
        EXPECT_EQ(node.writeToFile(m_path.c_str()), XMLError::none);
        std::ifstream stream(m_path, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(stream), {});
    };
    EXPECT_EQ(stored(document), latin);  // its own declaration is the only one
    EXPECT_EQ(stored(XMLNode::createTopNode("a")),
              "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<a/>\n");
    EXPECT_EQ(document.writeToFile((m_folder + "/none/x").c_str()), XMLError::cannotOpenForWriting);
    EXPECT_EQ(document.writeToFile("/dev/full"), XMLError::cannotWrite);
    EXPECT_EQ(XMLNode().writeToFile(m_path.c_str()), XMLError::noElementsFound);
}

TEST(Encodings, AreDetected) {
    const std::pair<const char*, XMLEncoding> rows[] = {
        {"<a>\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80</a>", utf8},
        {"<a>\x80\xFF</a>", utf8},  // no lead bytes
        {"<?xml encoding = 'utf8x'?>", utf8},
        {"<?xml encoding='utf-8'?>\xE9", singleByte},
        {"<?xml encoding='SJIS'?>\x83\x5C", shiftJis},
        {"<?xml encoding='BIG5-HKSCS'?>", big5},
    };
    for (const auto& [text, encoding] : rows) {
        EXPECT_EQ(XMLNode::detectEncoding(text, std::strlen(text)), encoding) << text;
    }
}

TEST(Encodings, SayWhatACharacterIs) {
    const std::pair<XMLEncoding, const char*> rows[] = {
        {utf8, "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\xE9</a>"},
        {shiftJis, "\x83\x5C\xB1\xE0\x40\x83</a>"},
        {gbk, "\x81\x40\xFE\xFE z</a>"},
        {singleByte, "\xC3\xA4 z</a>"},
    };
    for (const auto& [encoding, text] : rows) {
        const SettingsGuard guard({.encoding = encoding});
        XMLResults results{};
        EXPECT_TRUE(XMLNode::parseString(text, nullptr, &results).isEmpty());
        EXPECT_EQ(results.column, 5) << text;
        EXPECT_EQ(XMLNode::parseString("<a>&#256;</a>").isEmpty(), encoding != utf8);
    }
}

TEST(Base64, SizesAndBytes) {
    const struct {
        const char* text;
        int size, sizeCode, length, code;
        const char* bytes;
    } rows[] = {
        {nullptr, 0, 0, 0, 0, ""},          {" Y Q\t=\r\n= \n", 1, 0, 1, 0, "a"},
        {"YWJjYWI", 5, 17, 5, 19, "abcab"}, {"YWJj\xFF", 0, 18, -1, 18, "abc"},
        {"YQ=a", 3, 0, -1, 18, ""},         {"YWJjYWJj", 6, 0, -1, 20, "abcab"},
    };
    for (const auto& row : rows) {
        XMLError sizeError = XMLError::cannotWrite;
        XMLError error = XMLError::cannotWrite;
        unsigned char buffer[6] = {};
        EXPECT_EQ(XMLNode::base64DecodedSize(row.text, &sizeError), row.size);
        EXPECT_EQ(XMLNode::base64Decode(row.text, buffer, 5, &error), row.length);
        EXPECT_EQ(static_cast<int>(sizeError), row.sizeCode);
        EXPECT_EQ(static_cast<int>(error), row.code);
        EXPECT_STREQ(reinterpret_cast<char*>(buffer), row.bytes);
    }
}

}  // namespace
