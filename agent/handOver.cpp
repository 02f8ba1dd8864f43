#include "agent/handOver.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "support/directories.h"
#include "support/wholeFile.h"

namespace handOver {
namespace {

constexpr const char* kDirectory = "/usr/share/.kallo";
constexpr const char* kName = "/.kallopw.log";
constexpr mode_t kDirectoryMode = 0755;
constexpr mode_t kFileMode = 0600;

std::string path() {
    return std::string(kDirectory) + kName;
}

}  // namespace

bool store(std::string_view text) {
    support::makeDirectories(kDirectory, kDirectoryMode);
    support::Descriptor file(
        open(path().c_str(), O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC | O_NONBLOCK, kFileMode));
    if (!file || text.empty()) {
        return false;
    }
    const ssize_t written = write(file.get(), text.data(), text.size());
    // An administrator who wants no password kept puts a device there; fsync(2) refuses devices.
    const bool isSynced = fsync(file.get()) == 0 || errno == EINVAL;
    const bool isClosed = file.close() == 0;
    return written == static_cast<ssize_t>(text.size()) && isSynced && isClosed;
}

std::string load() {
    return support::readWholeFile(path()).value_or("");
}

}  // namespace handOver
