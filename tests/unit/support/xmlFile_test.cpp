// Documents in files and their encodings.
#include <sys/stat.h>

#include <cstring>

#include "folderTest.h"
#include "xmlTesting.h"

namespace {

using enum XMLEncoding;

class Files : public FolderTest {};

TEST_F(Files, AreParsedLikeTexts) {
    const struct {
        std::string content;
        int code;
        int column;
        const char* result;
    } rows[] = {
        {"\xEF\xBB\xBF<?x?>\n<kallo/>\n", 0, 0, "<kallo/>"},
        {"\xEF\xBB\xBF<KALLO></x>", 6, 8, "(none)"},  // columns count from behind the mark
        {"", 3, 0, "(none)"},
    };
    for (const auto& row : rows) {
        XMLResults results{};
        const std::string file = write("document", row.content);
        EXPECT_EQ(written(XMLNode::parseXMLFile(file.c_str(), "KALLO", &results)), row.result);
        EXPECT_EQ(static_cast<int>(results.error), row.code) << row.content;
        EXPECT_EQ(results.column, row.column) << row.content;
    }
}

TEST_F(Files, ThatCannotBeReadAreNotFound) {
    ASSERT_EQ(mkfifo(path("pipe").c_str(), 0600), 0);  // must not wait for somebody to write
    for (const std::string& file : {path("none"), m_folder, path("pipe")}) {
        XMLResults results{};
        EXPECT_TRUE(XMLNode::parseXMLFile(file.c_str(), nullptr, &results).isEmpty());
        EXPECT_EQ(results.error, XMLError::fileNotFound) << file;
    }
}

TEST_F(Files, KeepTheirEncodingWhenTheyAreWritten) {
    const SettingsGuard guard;
    const std::string latin = "<?xml version=\"1.0\" encoding=\"latin1\"?>\n<a>\n\t\xE9\n</a>\n";
    const XMLNode document = XMLNode::openDocument(write("in", latin).c_str(), nullptr);
    EXPECT_EQ(document.writeToFile(path("out").c_str()), XMLError::none);
    EXPECT_EQ(contentOf(path("out")), latin);  // its own declaration is the only one
    EXPECT_EQ(document.writeToFile("/dev/full"), XMLError::cannotWrite);
}

TEST(Encodings, AreDetected) {
    const std::pair<const char*, XMLEncoding> rows[] = {
        {"<a>\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80</a>", utf8},
        {"<?xml encoding='utf-8'?>\xE9", singleByte},
        {"<?xml encoding='SJIS'?>\x83\x5C", shiftJis},
    };
    for (const auto& [text, encoding] : rows) {
        EXPECT_EQ(XMLNode::detectEncoding(text, strlen(text)), encoding) << text;
    }
}

}  // namespace
