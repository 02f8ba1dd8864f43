#include "support/wholeFile.h"

#include <sys/stat.h>

#include "folderTest.h"

namespace fs = std::filesystem;

class WholeFile : public FolderTest {};

TEST_F(WholeFile, IsReadOnlyWhenItIsAFile) {
    const std::string large(100000, 'x');
    const std::string pipe = path("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    fs::create_symlink("/dev/zero", path("link"));
    for (const auto& [name, content] : std::initializer_list<std::pair<std::string, const char*>>{
             {pipe, nullptr},
             {path("link"), nullptr},
             {m_folder, nullptr},
             {path("missing"), nullptr},
             {write("empty"), ""},
             {write("large", large), large.c_str()},
             {"/proc/sys/kernel/ostype", "Linux\n"}}) {  // tells no size
        const std::optional<std::string> text = support::readWholeFile(name);
        EXPECT_EQ(text.has_value(), content != nullptr) << name;
        EXPECT_EQ(text.value_or(""), content == nullptr ? "" : content) << name;
    }
    EXPECT_EQ(support::readWholeFile(path("large"), 5000), large.substr(0, 5000));
    EXPECT_FALSE(support::openRegularFile(pipe.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600));
}

TEST_F(WholeFile, IsReplacedWholeOrNotAtAll) {
    const fs::path icon = path("icon");
    fs::create_directory(path("occupied"));
    fs::create_symlink("icon", path("link"));
    ASSERT_TRUE(support::replaceWholeFile(icon, "old"));
    ASSERT_EQ(chmod(icon.c_str(), 0640), 0);
    ASSERT_TRUE(support::replaceWholeFile(path("link"), std::string("n\0w", 3)));
    EXPECT_EQ(contentOf(icon), std::string("n\0w", 3));
    EXPECT_TRUE(fs::is_symlink(path("link")));
    EXPECT_EQ(fs::status(icon).permissions(), fs::perms{0640});
    EXPECT_FALSE(support::replaceWholeFile(path("occupied"), "x"));
    EXPECT_EQ(errno, EISDIR);
    EXPECT_EQ(std::distance(fs::directory_iterator(m_folder), {}), 3) << "something is left behind";
}
