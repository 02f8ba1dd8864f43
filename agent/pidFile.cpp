#include "agent/pidFile.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <string>

#include "support/directories.h"
#include "support/serverPaths.h"
#include "support/wholeFile.h"

namespace {

constexpr const char* kInstanceMarker = "kalloagent";
constexpr const char* kBlanks = " \t\n\v\f\r";
constexpr mode_t kRunDirectoryMode = 0755;
constexpr mode_t kPidFileMode = 0666;
constexpr int kLockAttempts = 100;
constexpr useconds_t kLockPause = 10'000;  // microseconds

/// The first word of a file; empty when there is none.
std::string firstWord(const std::string& path) {
    const std::string text = support::readWholeFile(path).value_or("");
    const size_t start = text.find_first_not_of(kBlanks);
    return start == std::string::npos
               ? std::string()
               : text.substr(start, text.find_first_of(kBlanks, start) - start);
}

/// Whether the number is that of this process or of one of its threads: where a container starts
/// anew with its files kept, processes get the numbers of those before them.
bool isOwn(const std::string& pid) {
    return access(("/proc/self/task/" + pid).c_str(), F_OK) == 0;
}

/// The command line's words are separated by NUL bytes, so its first word is all of it up to a
/// blank inside an argument.
bool isAgent(const std::string& pid) {
    return firstWord("/proc/" + pid + "/cmdline").find(kInstanceMarker) != std::string::npos;
}

/// Locks the run directory for as long as the result is held, so that reading the pid file and
/// writing it are one step. Whoever may read the directory may lock it as well, so after a second
/// the start goes on without.
support::Descriptor lockRunDirectory() {
    support::Descriptor directory(open(server::kRunDirectory, O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    for (int i = 0; directory && i < kLockAttempts; ++i) {
        if (flock(directory.get(), LOCK_EX | LOCK_NB) == 0) {
            break;
        }
        usleep(kLockPause);
    }
    return directory;
}

void writePidFile() {
    const support::Descriptor file =
        support::openRegularFile(server::kPidFile, O_WRONLY | O_CREAT | O_TRUNC, kPidFileMode);
    if (file) {
        dprintf(file.get(), "%d", getpid());
    }
}

}  // namespace

bool anotherInstanceRuns() {
    support::makeDirectories(server::kRunDirectory, kRunDirectoryMode);
    const support::Descriptor lock = lockRunDirectory();
    const std::string pid = firstWord(server::kPidFile);
    if (!pid.empty() && !isOwn(pid) && isAgent(pid)) {
        return true;
    }
    writePidFile();
    return false;
}
