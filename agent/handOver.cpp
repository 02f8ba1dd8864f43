#include "agent/handOver.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "support/directories.h"

namespace handOver {
namespace {

constexpr mode_t kDirectoryMode = 0755;
constexpr mode_t kFileMode = 0600;
constexpr size_t kReadChunk = 4096;

}  // namespace

bool store(const char* text) {
    support::makeDirectories(kDirectory, kDirectoryMode);
    const int fd = open(kPasswordFile, O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC, kFileMode);
    FILE* file = fd < 0 ? nullptr : fdopen(fd, "w+");
    if (file == nullptr) {
        return false;
    }
    const size_t length = strlen(text);
    bool whole = length > 0 && fwrite(text, 1, length, file) == length;
    whole = fflush(file) == 0 && whole;
    // A device in its place, by which an administrator keeps nothing, cannot be synchronised.
    whole = (fsync(fd) == 0 || errno == EINVAL) && whole;
    return fclose(file) == 0 && whole;
}

std::string load() {
    std::string text;
    FILE* file = fopen(kPasswordFile, "re");
    if (file == nullptr) {
        return text;
    }
    std::array<char, kReadChunk> chunk;
    while (const size_t count = fread(chunk.data(), 1, chunk.size(), file)) {
        text.append(chunk.data(), count);
    }
    fclose(file);
    return text;
}

}  // namespace handOver
