// The core of the command runner: one vector, run stage by stage from its right end.
#include "support/commandRunner.h"

#include <dirent.h>
#include <fcntl.h>
#include <glob.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>

#include "support/process/child.h"
#include "support/process/descriptors.h"
#include "support/process/log.h"
#include "support/process/shellPattern.h"
#include "support/process/vector.h"

namespace {

using support::ChildMemory;
using support::CommandLog;
using support::CutVector;

constexpr int kNoPipeStatus = 0;  // a stage without its pipe counts as done
constexpr int kRefusedStatus = 1;
constexpr int kNotExecutableStatus = 1;

/// What all stages of one vector have in common, and where its ends go.
struct Wiring {
    int in;
    int out;
    int err;
    const char* logPath;
    bool expandsWildcards;
    pid_t caller;
};

/// One stage about to start, as its child finds it.
struct Stage {
    Wiring wiring;
    CutVector cut;
    char** wholeVector;
    const CommandLog* log;
};

int runVector(const Wiring& wiring, char** argv) noexcept;

/// Starts everything left of this stage in the background and returns the read end of the pipe
/// that it prints into. Leaves the process when the stage must not run.
int startLeftStages(const Stage& stage) noexcept {
    const char* name = stage.cut.command[0];
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        stage.log->error("create pipe fail: ", name);
        _exit(kNoPipeStatus);
    }
    Wiring left = stage.wiring;
    left.out = ends[1];
    runVector(left, stage.wholeVector);
    close(ends[1]);
    // The left stages run on: they meet a closed pipe.
    if (support::isShell(name)) {
        stage.log->warn("insecure exec pipeline ", name);
        _exit(kRefusedStatus);
    }
    return ends[0];
}

/// The words with their wildcards replaced by the paths that match, in directory order; a word
/// that matches nothing stays as it is. Symbolic links are not followed while matching. The result
/// lives until the process execs.
char** expandWildcards(char** words) noexcept {
    glob_t found{};
    found.gl_opendir = [](const char* path) -> void* { return opendir(path); };
    found.gl_readdir = [](void* dir) { return readdir(static_cast<DIR*>(dir)); };
    found.gl_closedir = [](void* dir) { closedir(static_cast<DIR*>(dir)); };
    found.gl_lstat = lstat;
    found.gl_stat = lstat;
    for (char** word = words; *word != nullptr; ++word) {
        glob(*word,
             GLOB_NOCHECK | GLOB_APPEND | GLOB_NOSORT | GLOB_BRACE | GLOB_NOMAGIC | GLOB_ALTDIRFUNC,
             nullptr, &found);
    }
    const bool hasWords = found.gl_pathv != nullptr && found.gl_pathv[0] != nullptr;
    return hasWords ? found.gl_pathv : words;
}

/// The child of one stage.
[[noreturn]] void becomeStage(void* job) noexcept {
    const Stage& stage = *static_cast<const Stage*>(job);
    const Wiring& wiring = stage.wiring;
    const int in = stage.cut.isPipeline ? startLeftStages(stage) : wiring.in;
    support::attachStandardStreams(in, wiring.out, wiring.err);
    support::closeOtherDescriptors();
    if (stage.cut.isBackground) {
        setsid();
    }
    char** words = stage.cut.command;
    execvp(words[0], wiring.expandsWildcards ? expandWildcards(words) : words);
    _exit(kNotExecutableStatus);
}

/// Exit code of `child`; 0 when it was killed or cannot be waited for.
int waitForExitCode(pid_t child) noexcept {
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            return 0;
        }
    }
    return (status >> 8) & 0xff;
}

int runVector(const Wiring& wiring, char** argv) noexcept {
    const CommandLog log(wiring.logPath, wiring.caller);
    Stage stage{wiring, {}, argv, &log};
    if (argv != nullptr) {
        stage.cut = support::cutVector(argv);
    }
    if (stage.cut.command == nullptr || stage.cut.command[0] == nullptr) {
        log.warn("cannot execvp NULL command");
        return -1;
    }
    const bool onlyExecs = !stage.cut.isPipeline && !wiring.expandsWildcards;
    const pid_t child = support::startChild(onlyExecs ? ChildMemory::shared : ChildMemory::copied,
                                            becomeStage, &stage);
    if (child < 0) {
        return -1;
    }
    if (stage.cut.isBackground) {
        // Only picks up a command that could not even be started.
        waitpid(child, nullptr, WNOHANG);
        return 0;
    }
    return waitForExitCode(child);
}

}  // namespace

int exec_pipeline(int in_fd, int out_fd, int err_fd, const char* log_path, char do_glob,
                  char** argv) {
    return runVector({in_fd, out_fd, err_fd, log_path, do_glob != 0, getpid()}, argv);
}
