#include "client/wholeFile.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

namespace client {
namespace {

bool writeAll(int file, std::string_view bytes) {
    while (!bytes.empty()) {
        const ssize_t count = write(file, bytes.data(), bytes.size());
        if (count < 0 && errno != EINTR) {
            return false;
        }
        bytes.remove_prefix(count > 0 ? static_cast<size_t>(count) : 0);
    }
    return true;
}

bool writeInPlace(const std::string& path, std::string_view bytes) {
    const int file = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (file == -1) {
        return false;
    }
    const bool written = writeAll(file, bytes);
    return close(file) == 0 && written;
}

mode_t permissionsOf(const std::string& path) {
    struct stat found = {};
    if (stat(path.c_str(), &found) == 0) {
        return found.st_mode & 0777;
    }
    const mode_t mask = umask(0);
    umask(mask);
    return 0666 & ~mask;
}

bool replaceFile(const std::string& path, std::string_view bytes) {
    std::string temporary = path + ".XXXXXX";
    const int file = mkostemp(temporary.data(), O_CLOEXEC);
    if (file == -1) {
        return false;
    }
    const bool written =
        writeAll(file, bytes) && fchmod(file, permissionsOf(path)) == 0 && fsync(file) == 0;
    const bool closed = close(file) == 0;
    if (written && closed && rename(temporary.c_str(), path.c_str()) == 0) {
        return true;
    }
    const int reason = errno;
    unlink(temporary.c_str());
    errno = reason;
    return false;
}

}  // namespace

bool writeWholeFile(const std::string& path, std::string_view bytes, std::string& error) {
    std::error_code none;
    const std::filesystem::file_status status = std::filesystem::status(path, none);
    const bool exists = std::filesystem::exists(status);
    const bool inPlace = exists && !std::filesystem::is_regular_file(status);
    const std::string target = exists ? std::filesystem::canonical(path, none).string() : path;
    if (inPlace ? writeInPlace(target, bytes) : replaceFile(target, bytes)) {
        return true;
    }
    error = path + ": " + strerror(errno);
    return false;
}

}  // namespace client
