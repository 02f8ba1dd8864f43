#include "client/wholeFile.h"

#include <sys/stat.h>

#include "folderTest.h"

namespace client {

namespace fs = std::filesystem;

class WholeFile : public FolderTest {};

TEST_F(WholeFile, IsReplacedWholeOrNotAtAll) {
    const fs::path folder = m_folder;
    const fs::path icon = folder / "icon";
    std::string error;
    fs::create_directory(folder / "occupied");
    fs::create_symlink("icon", folder / "link");
    ASSERT_TRUE(writeWholeFile(icon, "old", error)) << error;
    ASSERT_EQ(chmod(icon.c_str(), 0640), 0);
    ASSERT_TRUE(writeWholeFile(folder / "link", std::string("n\0w", 3), error)) << error;
    EXPECT_EQ(contentOf(icon), std::string("n\0w", 3));
    EXPECT_TRUE(fs::is_symlink(folder / "link"));
    EXPECT_EQ(fs::status(icon).permissions(), fs::perms{0640});

    EXPECT_FALSE(writeWholeFile(folder / "occupied", "x", error));
    EXPECT_NE(error.find("Is a directory"), std::string::npos) << error;
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 3) << "something is left behind";

    EXPECT_FALSE(writeWholeFile("/dev/full", "x", error));
    EXPECT_TRUE(fs::is_character_file("/dev/full"));
}

}  // namespace client
