// Documents in files and their encodings.
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstring>
#include <filesystem>
#include <fstream>

#include "xmlTesting.h"

namespace {

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
        {"", 3, 0, "(none)"},
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

TEST(Encodings, AreDetected) {
    const std::pair<const char*, XMLEncoding> rows[] = {
        {"<a>\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80</a>", utf8},
        {"<?xml encoding='utf-8'?>\xE9", singleByte},
        {"<?xml encoding='SJIS'?>\x83\x5C", shiftJis},
    };
    for (const auto& [text, encoding] : rows) {
        EXPECT_EQ(XMLNode::detectEncoding(text, std::strlen(text)), encoding) << text;
    }
}

}  // namespace
