#include "client/wholeFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace client {

namespace fs = std::filesystem;

TEST(WholeFile, IsReplacedWholeOrNotAtAll) {
    const fs::path folder = testing::TempDir() + "wholeFile." + std::to_string(getpid());
    const fs::path icon = folder / "icon";
    std::string error;
    fs::create_directories(folder / "occupied");
    fs::create_symlink("icon", folder / "link");
    ASSERT_TRUE(writeWholeFile(icon, "old", error)) << error;
    ASSERT_EQ(chmod(icon.c_str(), 0640), 0);
    ASSERT_TRUE(writeWholeFile(folder / "link", std::string("n\0w", 3), error)) << error;
    std::ifstream file(icon, std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), std::string("n\0w", 3));
    EXPECT_TRUE(fs::is_symlink(folder / "link"));
    EXPECT_EQ(fs::status(icon).permissions(), fs::perms{0640});

    EXPECT_FALSE(writeWholeFile(folder / "occupied", "x", error));
    EXPECT_NE(error.find("Is a directory"), std::string::npos) << error;
    EXPECT_EQ(std::distance(fs::directory_iterator(folder), {}), 3) << "something is left behind";
    fs::remove_all(folder);

    EXPECT_FALSE(writeWholeFile("/dev/full", "x", error));
    EXPECT_TRUE(fs::is_character_file("/dev/full"));
}

}  // namespace client
