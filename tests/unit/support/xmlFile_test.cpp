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

class Files : public testing::Test {
  protected:
    Files() { std::filesystem::create_directory(m_folder); }
    ~Files() override { std::filesystem::remove_all(m_folder); }

    std::string file(const std::string& content) const {
        std::ofstream(m_path, std::ios::binary) << content;
        return m_path;
    }

    const std::string m_folder = testing::TempDir() + "/xmlFile." + std::to_string(getpid());
    const std::string m_path = m_folder + "/document.xml";
    const SettingsGuard m_guard;
};

TEST_F(Files, AreParsedLikeTexts) {
    const struct {
        const char* what;
        std::string content;
        int code;
        int column;
        const char* result;
    } rows[] = {
        {"descriptor", "<?xml version=\"1.0\"?>\n<KALLO><a>x</a></KALLO>\n", 0, 0,
         "<KALLO><a>x</a></KALLO>"},
        {"byte order mark", "\xEF\xBB\xBF<kallo/>", 0, 0, "<kallo/>"},
        {"only a byte order mark", "\xEF\xBB\xBF", 11, 0, "(none)"},
        {"place is counted behind the mark", "\xEF\xBB\xBF<KALLO></x>", 6, 8, "(none)"},
        {"empty", "", 3, 0, "(none)"},
        {"a zero byte ends the text", "<KALLO/>\0<"s, 0, 0, "<KALLO/>"},
        {"cut character at the end", "<KALLO/>\xF0", 0, 0, "<KALLO/>"},
        {"other element", "<a/>", 11, 0, "(none)"},
    };
    for (const auto& row : rows) {
        XMLResults results{};
        const XMLNode node = XMLNode::parseXMLFile(file(row.content).c_str(), "KALLO", &results);
        EXPECT_EQ(static_cast<int>(results.error), row.code) << row.what;
        EXPECT_EQ(results.column, row.column) << row.what;
        EXPECT_EQ(written(node), row.result) << row.what;
    }
    XMLSettings keepMark;
    keepMark.skipByteOrderMark = false;
    XMLNode::setSettings(keepMark);
    EXPECT_STREQ(XMLNode::parseXMLFile(file("\xEF\xBB\xBF<a/>").c_str()).text(), "\xEF\xBB\xBF");
}

TEST_F(Files, ThatCannotBeReadAreNotFound) {
    const std::string pipe = m_folder + "/pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);  // must not wait for somebody to write
    for (const std::string& path : {m_folder + "/none", m_folder, pipe, ""s}) {
        XMLResults results{};
        EXPECT_TRUE(XMLNode::parseXMLFile(path.c_str(), nullptr, &results).isEmpty());
        EXPECT_EQ(results.error, XMLError::fileNotFound) << path;
        EXPECT_EQ(results.line, 0);
    }
}

TEST_F(Files, OpeningADocumentReportsWhatIsWrong) {
    const std::string begin = "XML Parsing error inside file '" + m_path + "'.\n";
    const struct {
        const char* content;
        std::string report;
    } rows[] = {
        {"<a>\n<b></c>", begin + "Error: Unmatched end tag\nAt line 2, column 4.\n"},
        {"<b/>", begin + "Error: First Tag not found\nAt line 0, column 0.\n"
                         "First Tag should be 'a'"},
        {"", begin + "Error: No XML data\nAt line 0, column 0.\n"},
        {"<a><b>", ""},
    };
    for (const auto& row : rows) {
        std::string report;
        const XMLNode node = XMLNode::openDocument(file(row.content).c_str(), "a", &report);
        EXPECT_EQ(report, row.report);
        EXPECT_EQ(node.isEmpty(), !row.report.empty());
    }
}

TEST_F(Files, AreOpenedAndWrittenInTheirOwnEncoding) {
    const std::string latin = "<?xml version=\"1.0\" encoding=\"latin1\"?>\n<a>\n\t\xE9\n</a>\n";
    const XMLNode document = XMLNode::openDocument(file(latin).c_str(), nullptr);
    EXPECT_EQ(XMLNode::settings().encoding, XMLEncoding::singleByte);
    const std::string copy = m_folder + "/copy.xml";
    auto content = [&copy] {
        std::ifstream stream(copy, std::ios::binary);
        return std::string(std::istreambuf_iterator<char>(stream), {});
    };
    EXPECT_EQ(document.writeToFile(copy.c_str()), XMLError::none);
    EXPECT_EQ(content(), latin);  // its own declaration is the only one
    EXPECT_EQ(document.childNode("a").writeToFile(copy.c_str(), 0), XMLError::none);
    EXPECT_EQ(content(), "<?xml version=\"1.0\" encoding=\"ISO-8859-1\"?>\n<a>\xE9</a>");
    XMLNode::setSettings(XMLSettings{});
    EXPECT_EQ(XMLNode::createTopNode("a").writeToFile(copy.c_str()), XMLError::none);
    EXPECT_EQ(content(), "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<a/>\n");
    EXPECT_EQ(document.writeToFile((m_folder + "/none/x").c_str()), XMLError::cannotOpenForWriting);
    EXPECT_EQ(document.writeToFile("/dev/full"), XMLError::cannotWrite);
    EXPECT_EQ(XMLNode().writeToFile(copy.c_str()), XMLError::noElementsFound);
}

TEST(Encodings, AreDetected) {
    const struct {
        const char* text;
        XMLEncoding encoding;
    } rows[] = {
        {"\xEF\xBB\xBF encoding='GBK' \xE9", XMLEncoding::utf8},
        {"<a>\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80</a>", XMLEncoding::utf8},
        {"<a>\xE9t</a>", XMLEncoding::singleByte},
        {"<a>\xC3", XMLEncoding::singleByte},
        {"<a>\x80\xFF</a>", XMLEncoding::utf8},  // no lead bytes
        {"<?xml encoding=\"UTF-8\"?>", XMLEncoding::utf8},
        {"<?xml encoding = 'utf8x'?>", XMLEncoding::utf8},
        {"<?xml encoding='utf-8'?>\xE9", XMLEncoding::singleByte},
        {"<?xml encoding='Shift-JIS'?>", XMLEncoding::shiftJis},
        {"<?xml encoding='ShiftJIS'?>", XMLEncoding::shiftJis},
        {"<?xml encoding='SJIS'?>\x83\x5C", XMLEncoding::shiftJis},
        {"<?xml encoding='gb2312'?>", XMLEncoding::gb2312},
        {"<?xml encoding='BIG5-HKSCS'?>", XMLEncoding::big5},
        {"<?xml encoding='gbk'?>", XMLEncoding::gbk},
        {"<?xml encoding='iso-8859-15'?>", XMLEncoding::singleByte},
        {"<?xml encoding=''?>", XMLEncoding::singleByte},
        {"<encoding/><b encoding='gbk'/>", XMLEncoding::gbk},
        {"encoding", XMLEncoding::utf8},
        {"", XMLEncoding::utf8},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(XMLNode::detectEncoding(row.text, std::strlen(row.text)), row.encoding)
            << row.text;
    }
}

TEST(Encodings, ColumnsCountCharacters) {
    const struct {
        XMLEncoding encoding;
        const char* text;
        int column;
    } rows[] = {
        {XMLEncoding::utf8, "\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\xE9</a>", 5},
        {XMLEncoding::shiftJis, "\x83\x5C\xB1\xE0\x40\x83</a>", 5},
        {XMLEncoding::gbk, "\x81\x40\xFE\xFE z</a>", 5},
    };
    for (const auto& row : rows) {
        XMLSettings settings;
        settings.encoding = row.encoding;
        const SettingsGuard guard(settings);
        XMLResults results{};
        XMLNode::parseString(row.text, nullptr, &results);
        EXPECT_EQ(results.error, XMLError::unmatchedEndTag);
        EXPECT_EQ(results.column, row.column) << row.text;
    }
}

TEST(Base64, SizesAndBytes) {
    const struct {
        const char* text;
        int size;
        int sizeCode;
        int length;  // -1: refused
        int code;
        const char* bytes;
    } rows[] = {
        {"", 0, 0, 0, 0, ""},
        {"YWJj", 3, 0, 3, 0, "abc"},
        {"YWI=", 2, 0, 2, 0, "ab"},
        {" Y Q\t=\r\n= \n", 1, 0, 1, 0, "a"},
        {"YWJjYQ==", 4, 0, 4, 0, "abca"},
        {"+/+/", 3, 0, 3, 0, "\xFB\xFF\xBF"},
        {"YWJjYWI", 5, 17, 5, 19, "abcab"},
        {"YWJjY", 3, 17, 3, 19, "abc"},
        {"YWI", 2, 17, 2, 19, "ab"},
        {"YWJj!", 0, 18, -1, 18, "abc"},
        {"YWJj\xFF", 0, 18, -1, 18, "abc"},
        {"YQ=a", 3, 0, -1, 18, ""},
        {"YWJjYWJj", 6, 0, -1, 20, "abcab"},
        {nullptr, 0, 0, 0, 0, ""},
    };
    for (const auto& row : rows) {
        XMLError error = XMLError::cannotWrite;
        EXPECT_EQ(XMLNode::base64DecodedSize(row.text, &error), row.size);
        EXPECT_EQ(static_cast<int>(error), row.sizeCode);
        unsigned char buffer[6] = {};
        EXPECT_EQ(XMLNode::base64Decode(row.text, buffer, 5, &error), row.length);
        EXPECT_EQ(static_cast<int>(error), row.code);
        EXPECT_STREQ(reinterpret_cast<char*>(buffer), row.bytes);
        EXPECT_EQ(XMLNode::base64Decode(row.text, buffer, 5), row.length) << "without an error";
    }
}

}  // namespace
