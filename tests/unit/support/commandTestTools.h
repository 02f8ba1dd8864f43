// What the command runner's tests share: writable vectors, whole files and a folder of their own.
#pragma once

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "support/commandRunner.h"

using Words = std::vector<std::string>;

/// A command vector of `words`, writable as the core wants it.
class Vector {
  public:
    explicit Vector(Words words) : m_words(std::move(words)) {
        for (std::string& word : m_words) {
            m_pointers.push_back(word.data());
        }
        m_pointers.push_back(nullptr);
    }
    char** data() { return m_pointers.data(); }

  private:
    Words m_words;
    std::vector<char*> m_pointers;
};

/// All that `stream` gives; closes it.
inline std::string drain(FILE* stream) {
    if (stream == nullptr) {
        return "no stream";
    }
    std::string text;
    for (int character = 0; (character = fgetc(stream)) != EOF;) {
        text += static_cast<char>(character);
    }
    EXPECT_EQ(exec_pclose(stream), 256);
    return text;
}

/// What `words` print, as run by the stream opener (in the background when they end in "&").
inline std::string outputOf(const Words& words, char doGlob = 0) {
    return drain(exec_open_stream("r", nullptr, nullptr, doGlob, Vector(words).data()));
}

inline int statusOf(pid_t child) {
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return status;
}

inline std::string contentOf(const std::string& path) {
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Each test gets an empty folder and a log path in it.
class CommandTest : public testing::Test {
  protected:
    void SetUp() override {
        char name[] = "/tmp/commandTest.XXXXXX";
        ASSERT_NE(mkdtemp(name), nullptr);
        m_folder = name;
        m_log = m_folder + "/log";
    }
    void TearDown() override { std::filesystem::remove_all(m_folder); }

    std::string path(const std::string& name) const { return m_folder + "/" + name; }
    void write(const std::string& name, const std::string& text) const {
        std::ofstream(path(name)) << text;
    }
    /// Runs `words` with their log and returns the exit code.
    int run(const Words& words) const {
        return exec_pipeline(-1, -1, -1, m_log.c_str(), 0, Vector(words).data());
    }
    /// A line of the log as this process causes it.
    static std::string logLine(const std::string& level, const std::string& text) {
        return "[" + level + "] [" + std::to_string(getpid()) + "] " + text + "\n";
    }

    std::string m_folder;
    std::string m_log;
};
