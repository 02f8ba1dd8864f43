#include "support/wholeFile.h"

#include <sys/stat.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <new>

namespace support {
namespace {

constexpr size_t kLeastSize = 4096;
constexpr mode_t kPermissions = 07777;
constexpr mode_t kNewFile = 0666;

bool writeAll(int fd, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = write(fd, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR) {
            return false;
        }
        bytes.remove_prefix(count < 0 ? 0 : static_cast<size_t>(count));
    }
    return true;
}

/// Gives the new file the mode and owner of the one that it is to replace.
bool adoptAttributes(int fd, const std::string& replaced) {
    struct stat old {};
    struct stat mine {};
    if (stat(replaced.c_str(), &old) != 0) {
        const mode_t mask = umask(0);
        umask(mask);
        return errno == ENOENT && fchmod(fd, kNewFile & ~mask) == 0;
    }
    if (fstat(fd, &mine) != 0) {
        return false;
    }
    const bool isOwned = mine.st_uid == old.st_uid && mine.st_gid == old.st_gid;
    return (isOwned || fchown(fd, old.st_uid, old.st_gid) == 0) &&
           fchmod(fd, old.st_mode & kPermissions) == 0;
}

/// Makes the rename itself durable. A file system without directory syncs is no failure.
void syncDirectoryOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    const std::string directory = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    const Descriptor opened(open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (opened) {
        fsync(opened.get());
    }
}

/// How much to read at first: all of a file and one byte to see its end, where it tells its size;
/// those of /proc do not.
size_t firstSize(int fd) {
    struct stat status {};
    const bool isKnown = fstat(fd, &status) == 0 && status.st_size > 0;
    return std::max(kLeastSize, isKnown ? static_cast<size_t>(status.st_size) + 1 : 0);
}

/// The file behind `path`, which need not exist.
std::string linkTarget(const std::string& path) {
    const std::unique_ptr<char, decltype(&free)> real(realpath(path.c_str(), nullptr), &free);
    return real ? real.get() : path;
}

}  // namespace

bool isRegularFile(const char* path) noexcept {
    struct stat status {};
    return stat(path, &status) == 0 && S_ISREG(status.st_mode);
}

bool mayBlock(const char* path) noexcept {
    struct stat status {};
    return stat(path, &status) == 0 && !S_ISREG(status.st_mode);
}

Descriptor openRegularFile(const char* path, int flags, mode_t mode) noexcept {
    if (mayBlock(path)) {
        errno = EINVAL;
        return {};
    }
    // It may have been replaced since; a pipe is then opened without waiting and given back.
    struct stat status {};
    Descriptor file(open(path, flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY, mode));
    if (file && (fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode))) {
        errno = EINVAL;
        file.reset();
    }
    return file;
}

Stream openRegularStream(const char* path) noexcept {
    Descriptor file = openRegularFile(path);
    Stream stream(file ? fdopen(file.get(), "r") : nullptr);
    if (stream) {
        [[maybe_unused]] const int given = file.release();
    }
    return stream;
}

bool readToEnd(const Descriptor& file, std::string& text, size_t limit) {
    size_t length = text.size();
    size_t size = length + firstSize(file.get());
    ssize_t count = 0;
    do {
        if (length == text.size()) {
            text.resize(std::min(limit, size));
            size = 2 * text.size();
        }
        count = read(file.get(), text.data() + length, text.size() - length);
        length += count > 0 ? static_cast<size_t>(count) : 0;
    } while (count > 0 || (count < 0 && errno == EINTR));
    text.resize(length);
    return count == 0;
}

std::optional<std::string> readWholeFile(const std::string& path, size_t limit) noexcept {
    const Descriptor file = openRegularFile(path.c_str());
    std::string text;
    try {
        return file && readToEnd(file, text, limit) ? std::optional(std::move(text)) : std::nullopt;
    } catch (const std::bad_alloc&) {
        errno = ENOMEM;
        return std::nullopt;
    }
}

bool replaceWholeFile(const std::string& path, std::string_view bytes) {
    const std::string target = linkTarget(path);
    std::string temporary = target + ".XXXXXX";
    Descriptor file(mkostemp(temporary.data(), O_CLOEXEC));
    if (!file) {
        return false;
    }
    const bool isStored = writeAll(file.get(), bytes) && adoptAttributes(file.get(), target) &&
                          fsync(file.get()) == 0;
    if (isStored && file.close() == 0 && rename(temporary.c_str(), target.c_str()) == 0) {
        syncDirectoryOf(target);
        return true;
    }
    const int reason = errno;
    unlink(temporary.c_str());
    errno = reason;
    return false;
}

}  // namespace support

int make_temp_file(char* pathTemplate) {
    const support::Descriptor file(pathTemplate == nullptr ? -1
                                                           : mkostemp(pathTemplate, O_CLOEXEC));
    return file ? 0 : -1;
}
