// What the command runner's tests share: commands as words, what they print and what is logged.
#pragma once

#include <sys/wait.h>
#include <unistd.h>

#include <vector>

#include "folderTest.h"
#include "support/commandRunner.h"

using Words = std::vector<std::string>;

/// `words` as the core wants them: writable, and null behind the last.
inline std::vector<char*> pointersTo(Words& words) {
    std::vector<char*> pointers;
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

/// All that `stream` gives; closes it.
inline std::string drain(FILE* stream) {
    std::string text = stream == nullptr ? "no stream" : "";
    for (int character = 0; stream != nullptr && (character = fgetc(stream)) != EOF;) {
        text += static_cast<char>(character);
    }
    EXPECT_EQ(exec_pclose(stream), 256);
    return text;
}

inline FILE* streamOn(const char* mode, Words words, char doGlob = 0) {
    return exec_open_stream(mode, nullptr, nullptr, doGlob, pointersTo(words).data());
}

/// What `words` print, as run by the stream opener (in the background when they end in "&").
inline std::string outputOf(const Words& words, char doGlob = 0) {
    return drain(streamOn("r", words, doGlob));
}

inline int statusOf(pid_t child) {
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    return status;
}

struct CommandTest : FolderTest {
    /// Runs `words` with a log and returns the exit code.
    int run(Words words) const {
        return exec_pipeline(-1, -1, -1, path("log").c_str(), 0, pointersTo(words).data());
    }
    /// Takes what was logged so far; "[...] " with this process's id is "[WARN] " or "[ERROR] ".
    std::string logged() const {
        std::string text = contentOf(path("log"));
        const std::string process = "[" + std::to_string(getpid()) + "] ";
        for (size_t at; (at = text.find(process)) != std::string::npos;) {
            text.erase(at, process.size());
        }
        std::filesystem::remove(path("log"));
        return text;
    }
};
