#include "agent/singleInstance.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <string>

#include "support/directories.h"

namespace {

constexpr const char* kRunDirectory = "/var/run/kalloagent";
constexpr const char* kPidFile = "/var/run/kalloagent/kalloagent.pid";
constexpr const char* kInstanceMarker = "kalloagent";
constexpr mode_t kRunDirectoryMode = 0755;
constexpr int kLockAttempts = 100;
constexpr useconds_t kLockPause = 10'000;  // microseconds

/// The first word of a file; empty when there is none.
std::string firstWord(const std::string& path) {
    std::string word;
    std::ifstream(path) >> word;
    return word;
}

/// Holds the run directory locked, so that reading the pid file and writing it are one step.
/// Whoever may read the directory may lock it as well, so after a second the start goes on without.
class RunDirectoryLock {
  public:
    RunDirectoryLock() : m_directory(open(kRunDirectory, O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
        for (int i = 0; m_directory >= 0 && i < kLockAttempts; ++i) {
            if (flock(m_directory, LOCK_EX | LOCK_NB) == 0) {
                break;
            }
            usleep(kLockPause);
        }
    }
    RunDirectoryLock(const RunDirectoryLock&) = delete;
    RunDirectoryLock& operator=(const RunDirectoryLock&) = delete;
    ~RunDirectoryLock() {
        if (m_directory >= 0) {
            close(m_directory);
        }
    }

  private:
    int m_directory;
};

}  // namespace

bool anotherInstanceRuns() {
    support::makeDirectories(kRunDirectory, kRunDirectoryMode);
    const RunDirectoryLock lock;
    const std::string pid = firstWord(kPidFile);
    // The command line's words are separated by NUL bytes, so its first word is all of it up to a
    // blank inside an argument.
    if (!pid.empty() &&
        firstWord("/proc/" + pid + "/cmdline").find(kInstanceMarker) != std::string::npos) {
        return true;
    }
    FILE* file = fopen(kPidFile, "we");
    if (file != nullptr) {
        fprintf(file, "%d", getpid());
        fclose(file);
    }
    return false;
}
