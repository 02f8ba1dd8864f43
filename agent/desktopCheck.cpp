#include "agent/desktopCheck.h"

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <string>
#include <string_view>

#include "support/handles.h"

namespace {

constexpr const char* kProcesses = "/proc";
constexpr const char* kCommandLine = "/cmdline";
constexpr std::string_view kDesktopMarker = "KALLO";
constexpr const char* kWhitespace = " \t\n\v\f\r";
constexpr size_t kChunk = 32768;

/// Where the marker stands in the file for the first time; nothing when it does not. The file is
/// searched as fast as it is read: processes may have megabytes of arguments.
std::optional<off_t> findMarker(int fd) {
    std::array<char, kChunk> text;
    size_t kept = 0;  // of the chunk before, in which the marker may have begun
    off_t start = 0;  // of `text` in the file
    for (;;) {
        const ssize_t count = read(fd, text.data() + kept, text.size() - kept);
        if (count <= 0) {
            return std::nullopt;
        }
        const size_t length = kept + static_cast<size_t>(count);
        const void* const found =
            memmem(text.data(), length, kDesktopMarker.data(), kDesktopMarker.size());
        if (found != nullptr) {
            return start + (static_cast<const char*>(found) - text.data());
        }
        kept = std::min(length, kDesktopMarker.size() - 1);
        memmove(text.data(), text.data() + length - kept, kept);
        start += static_cast<off_t>(length - kept);
    }
}

/// Whether `text` holds white space: one search a character is faster than one look a byte.
bool hasWhitespace(std::string_view text) {
    return std::any_of(kWhitespace, kWhitespace + strlen(kWhitespace), [text](char blank) {
        return memchr(text.data(), blank, text.size()) != nullptr;
    });
}

/// Whether the first word of the file goes on from its first letter up to `place`. The arguments in
/// a command line are separated by NUL bytes, which end no word.
bool isInFirstWord(int fd, off_t place) {
    std::array<char, kChunk + 1> buffer;
    bool hasBegun = false;
    for (off_t at = 0; at < place;) {
        const auto wanted = std::min(kChunk, static_cast<size_t>(place - at));
        const ssize_t count = pread(fd, buffer.data(), wanted, at);
        if (count <= 0) {
            return false;
        }
        std::string_view text(buffer.data(), static_cast<size_t>(count));
        if (!hasBegun) {
            buffer[text.size()] = '\0';
            text.remove_prefix(strspn(buffer.data(), kWhitespace));
            hasBegun = !text.empty();
        }
        if (hasWhitespace(text)) {
            return false;
        }
        at += count;
    }
    return true;
}

bool isDesktop(int fd) {
    const std::optional<off_t> marker = findMarker(fd);
    return marker && isInFirstWord(fd, *marker);
}

}  // namespace

bool isDesktopRunning() {
    DIR* processes = opendir(kProcesses);
    if (processes == nullptr) {
        return false;
    }
    bool found = false;
    std::string path;
    while (const dirent* entry = found ? nullptr : readdir(processes)) {
        // Plain files hold no command line, and "." and ".." are no entries of the walk.
        if (entry->d_type == DT_REG || entry->d_name[0] == '.') {
            continue;
        }
        path.assign(entry->d_name).append(kCommandLine);
        const support::Descriptor file(
            openat(dirfd(processes), path.c_str(), O_RDONLY | O_CLOEXEC));
        found = file && isDesktop(file.get());
    }
    closedir(processes);
    return found;
}
