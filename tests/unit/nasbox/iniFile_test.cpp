// The platform tools and the agent's parser read the same files: whatever a file holds, both must
// find the same values, and what wrconf writes the parser must read.
#include "nasbox/iniFile.h"

#include "folderTest.h"
#include "support/confParser.h"

// The parser's value, without the line feed that "key=value" leaves in it.
static std::string parsed(const std::string& path, const std::string& section,
                          const std::string& key) {
    ConfParser parser;
    EXPECT_EQ(parser.parseFile(path), 0);
    const std::string value = parser.getValue(section, key);
    return value.substr(0, value.size() - (value.ends_with('\n') ? 1 : 0));
}

class IniFiles : public FolderTest {};

TEST_F(IniFiles, AgreeWithTheParser) {
    for (const char* text : {
             "[A]\nk = v\nk=w\n[A]\nk = x\n",
             "  [A] tail\n  k  = v\nk == = v\n",
             "\t[A]\nk = v\n[A]\n\tk = v\nk = \n",
             "[A]\nj = 1\n[B\nk = v\n[A]\nk = w\n",
             "[A]\nk = v\r\n# k = c\nk\n = empty key\n",
             "[A]]\nk=v",
             "[ A]\nk = 1\n[]\n[A]\nk = a=b = c \n",
         }) {
        for (const char* key : {"k", "k ", "\tk", "j", "# k", "K"}) {
            SCOPED_TRACE(std::string(text) + key);
            const std::string path = write("file", text);
            IniFile file;
            ASSERT_EQ(file.load(path), 0);
            for (const char* section : {"A", " A", "B", "A]"}) {
                EXPECT_EQ(file.value(section, key).value_or(""), parsed(path, section, key))
                    << section;
            }
            for (const char* value : {"", "v=w ", "[x]"}) {
                ASSERT_EQ(file.set("A", key, value), nullptr);
                ASSERT_EQ(file.save(path), 0);
                EXPECT_EQ(parsed(path, "A", key), value);
            }
        }
    }
}
