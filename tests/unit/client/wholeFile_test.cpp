#include "client/wholeFile.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <iterator>

namespace client {
namespace {

namespace fs = std::filesystem;

class WholeFile : public testing::Test {
  protected:
    void SetUp() override {
        std::string path = fs::temp_directory_path() / "wholeFile.XXXXXX";
        ASSERT_NE(mkdtemp(path.data()), nullptr);
        folder = path;
    }
    void TearDown() override { fs::remove_all(folder); }

    static std::string contentOf(const fs::path& path) {
        std::ifstream file(path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), {}};
    }
    auto entries() const { return std::distance(fs::directory_iterator(folder), {}); }

    fs::path folder;
    std::string error;
};

TEST_F(WholeFile, ReplacesTheContentAndKeepsThePermissions) {
    const fs::path icon = folder / "icon";
    const fs::path link = folder / "link";
    fs::create_symlink("icon", link);
    ASSERT_TRUE(writeWholeFile(icon, "old", error)) << error;
    ASSERT_EQ(chmod(icon.c_str(), 0640), 0);
    ASSERT_TRUE(writeWholeFile(link, std::string("n\0w", 3), error)) << error;
    EXPECT_EQ(contentOf(icon), std::string("n\0w", 3));
    EXPECT_TRUE(fs::is_symlink(link));
    struct stat found = {};
    stat(icon.c_str(), &found);
    EXPECT_EQ(found.st_mode & 07777, 0640U);
    EXPECT_EQ(entries(), 2);
}

TEST_F(WholeFile, LeavesNothingBehindOnFailure) {
    const fs::path occupied = folder / "occupied";
    fs::create_directory(occupied);
    EXPECT_FALSE(writeWholeFile(occupied, "x", error));
    EXPECT_NE(error.find("Is a directory"), std::string::npos) << error;
    EXPECT_FALSE(writeWholeFile(folder / "missing" / "icon", "x", error));
    EXPECT_EQ(entries(), 1);
}

TEST_F(WholeFile, WritesToADeviceInPlace) {
    EXPECT_TRUE(writeWholeFile("/dev/null", "x", error)) << error;
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
    EXPECT_FALSE(writeWholeFile("/dev/full", "x", error));
}

}  // namespace
}  // namespace client
