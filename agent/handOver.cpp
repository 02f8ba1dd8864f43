#include "agent/handOver.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>

#include "support/directories.h"
#include "support/serverPaths.h"
#include "support/wholeFile.h"

namespace handOver {
namespace {

constexpr mode_t kDirectoryMode = 0755;
constexpr mode_t kFileMode = 0600;

}  // namespace

bool store(std::string_view text) {
    support::makeDirectories(server::kHandOverDirectory, kDirectoryMode);
    support::Descriptor file(open(server::kHandOverFile,
                                  O_RDWR | O_CREAT | O_TRUNC | O_CLOEXEC | O_NONBLOCK, kFileMode));
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
    return support::readWholeFile(server::kHandOverFile).value_or("");
}

}  // namespace handOver
