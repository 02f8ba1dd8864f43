#include "support/directories.h"

#include <sys/stat.h>

#include <cerrno>

namespace support {

int makeDirectories(const std::string& path, mode_t mode) noexcept {
    for (size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
        const std::string ancestor = path.substr(0, end);
        if (mkdir(ancestor.c_str(), mode) != 0 && errno != EEXIST) {
            return -1;
        }
        if (end == std::string::npos) {
            break;
        }
    }
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) {
        return -1;
    }
    if (!S_ISDIR(status.st_mode)) {
        errno = ENOTDIR;
        return -1;
    }
    return 0;
}

}  // namespace support
