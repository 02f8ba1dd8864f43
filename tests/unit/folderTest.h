// A folder of its own for each test that works on files.
#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

struct FolderTest : testing::Test {
    void SetUp() override { ASSERT_NE(mkdtemp(m_folder.data()), nullptr); }
    void TearDown() override { std::filesystem::remove_all(m_folder); }

    std::string path(const std::string& name) const { return m_folder + "/" + name; }
    /// Returns the path of the file that now holds `text`.
    std::string write(const std::string& name, const std::string& text = "") const {
        std::ofstream(path(name), std::ios::binary) << text;
        return path(name);
    }

    std::string m_folder = testing::TempDir() + "test.XXXXXX";
};

inline std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}
