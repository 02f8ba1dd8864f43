#include "agent/desktopCheck.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <string_view>

namespace {

constexpr const char* kProcesses = "/proc";
constexpr const char* kCommandLine = "/cmdline";
constexpr std::string_view kDesktopMarker = "KALLO";
constexpr std::string_view kWhitespace = " \t\n\v\f\r";
constexpr size_t kChunk = 4096;

/// Reads on until `word` holds the file's first word whole; whatever follows it stays behind it.
/// The arguments in a command line are separated by NUL bytes, which end no word.
void readFirstWord(int fd, std::string& word) {
    size_t used = 0;
    size_t start = std::string::npos;
    for (;;) {
        const size_t searched = used;
        word.resize(used + kChunk);
        const ssize_t count = read(fd, word.data() + used, kChunk);
        used += count > 0 ? static_cast<size_t>(count) : 0;
        word.resize(used);
        if (start == std::string::npos) {
            start = word.find_first_not_of(kWhitespace);
        }
        const size_t end = start == std::string::npos
                               ? start
                               : word.find_first_of(kWhitespace, std::max(start, searched));
        if (end != std::string::npos || count <= 0) {
            word.resize(std::min(end, word.size()));
            return;
        }
    }
}

}  // namespace

bool isDesktopRunning() {
    DIR* processes = opendir(kProcesses);
    if (processes == nullptr) {
        return false;
    }
    bool found = false;
    std::string path;
    std::string word;
    while (const dirent* entry = found ? nullptr : readdir(processes)) {
        // Plain files hold no command line, and "." and ".." are no entries of the walk.
        if (entry->d_type == DT_REG || entry->d_name[0] == '.') {
            continue;
        }
        path.assign(entry->d_name).append(kCommandLine);
        const int fd = openat(dirfd(processes), path.c_str(), O_RDONLY | O_CLOEXEC);
        if (fd < 0) {
            continue;
        }
        readFirstWord(fd, word);
        close(fd);
        found = word.find(kDesktopMarker) != std::string::npos;
    }
    closedir(processes);
    return found;
}
