// The platform tools and the agent's parser read the same files: whatever a file holds, both must
// find the same values, and what wrconf writes the parser must read.
#include "nasbox/iniFile.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <string>

#include "support/confParser.h"

namespace {

class IniFileTest : public ::testing::Test {
  protected:
    void write(const std::string& text) { std::ofstream(m_path, std::ios::binary) << text; }

    /// The parser's value, without the line feed that "key=value" leaves in it.
    std::string parsed(const std::string& section, const std::string& key) const {
        ConfParser parser;
        EXPECT_EQ(parser.parseFile(m_path), 0);
        std::string value = parser.getValue(section, key);
        if (value.ends_with('\n')) {
            value.pop_back();
        }
        return value;
    }

    void TearDown() override { unlink(m_path.c_str()); }

    const std::string m_path = ::testing::TempDir() + "iniFile_test." + std::to_string(getpid());
};

const char* const kFiles[] = {
    "[A]\nk = v\nk=w\n[A]\nk = x\n",
    "k = v\n[]\nk = w\n",
    "  [A] tail\n  k  = v\nk == = v\n",
    "\t[A]\nk = v\n[A]\n\tk = v\nk = \n",
    "[A]\nj = 1\n[B\nk = v\n[A]\nk = w\n",
    "[A]\nk = v\r\n# k = c\nk\n = empty key\n",
    "[A]\nk =",
    "[A]]\nk=v",
    "[ A]\nk = 1\n[A]\nk = a=b = c \n",
};

TEST_F(IniFileTest, finds_what_the_parser_finds) {
    for (const char* text : kFiles) {
        write(text);
        IniFile file;
        ASSERT_EQ(file.load(m_path), 0);
        for (const char* section : {"A", " A", "B", "A]"}) {
            for (const char* key : {"k", "k ", "\tk", "j", "# k", "K"}) {
                EXPECT_EQ(file.value(section, key).value_or(""), parsed(section, key))
                    << text << "section " << section << ", key " << key;
            }
        }
    }
}

TEST_F(IniFileTest, the_parser_reads_what_was_set) {
    for (const char* text : kFiles) {
        for (const char* key : {"k", "j", "new key", "k "}) {
            write(text);
            IniFile file;
            ASSERT_EQ(file.load(m_path), 0);
            for (const char* value : {"", "v=w ", "[x]"}) {
                ASSERT_EQ(file.set("A", key, value), nullptr);
                ASSERT_EQ(file.save(m_path), 0);
                EXPECT_EQ(parsed("A", key), value) << text << "key " << key;
            }
        }
    }
}

}  // namespace
