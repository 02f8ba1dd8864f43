// Streams on running commands: the opener, its closing counterpart and the list of open streams.
#include <fcntl.h>
#include <pthread.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <optional>

#include "support/commandRunner.h"
#include "support/handles.h"
#include "support/process/child.h"
#include "support/process/descriptors.h"
#include "support/process/log.h"
#include "support/process/vector.h"

namespace {

using support::ChildMemory;
using support::CommandLog;
using support::Descriptor;

struct ExecStreamRecord {
    ExecStreamRecord* next;
    FILE* stream;
    pid_t pid;  // the direct child, not the command
};

/// Head of the list of open streams. Openers hold the lock shared and push with one atomic step
/// each; a closer holds it exclusive while it unlinks.
std::atomic<ExecStreamRecord*> openStreams{nullptr};
pthread_rwlock_t streamLock = PTHREAD_RWLOCK_INITIALIZER;

/// In a forked child the lock may be a copy of one that another thread holds, which does not exist
/// here to release it; the listed streams are the parent's to close. Frees nothing: that
/// thread may have been allocating, too.
void startListAfresh() {
    pthread_rwlock_init(&streamLock, nullptr);
    openStreams.store(nullptr, std::memory_order_relaxed);
}

[[maybe_unused]] const int kForkHandler = pthread_atfork(nullptr, nullptr, startListAfresh);

/// The two ends of a stream and what the command gets of them.
struct StreamEnds {
    const char* mode;  // of the caller's stream
    Descriptor callersEnd;
    Descriptor otherEnd;
    int commandInput;
    int commandOutput;
};

/// A socket pair gives the command the caller's own end as its input, so it reads what it prints
/// itself; programs rely on the output direction alone.
std::optional<StreamEnds> openEnds(const char* mode, const char* command, const CommandLog& log) {
    int pair[2];
    if (mode != nullptr && strchr(mode, '+') != nullptr) {
        if (socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, pair) != 0) {
            log.error("create socketpair fail: ", command);
            return std::nullopt;
        }
        return StreamEnds{"r+", Descriptor(pair[0]), Descriptor(pair[1]), pair[0], pair[1]};
    }
    const bool reads = mode != nullptr && strcmp(mode, "r") == 0;
    const bool writes = mode != nullptr && strcmp(mode, "w") == 0;
    if ((!reads && !writes) || pipe2(pair, O_CLOEXEC) != 0) {
        log.error("create pipe fail: ", command);
        return std::nullopt;
    }
    return reads ? StreamEnds{"r", Descriptor(pair[0]), Descriptor(pair[1]), -1, pair[1]}
                 : StreamEnds{"w", Descriptor(pair[1]), Descriptor(pair[0]), pair[0], -1};
}

/// A record with a stream on the caller's end, or null when memory has run out.
ExecStreamRecord* newRecord(StreamEnds& ends) {
    auto* record = static_cast<ExecStreamRecord*>(calloc(1, sizeof(ExecStreamRecord)));
    if (record == nullptr) {
        return nullptr;
    }
    record->stream = fdopen(ends.callersEnd.get(), ends.mode);
    if (record->stream == nullptr) {
        free(record);
        return nullptr;
    }
    [[maybe_unused]] const int given = ends.callersEnd.release();
    return record;
}

struct StreamCommand {
    const StreamEnds& ends;
    const char* errPath;
    char doGlob;
    char** argv;
    bool isBrief;  // the direct child is gone as soon as the command runs
};

/// The direct child of an opened stream: starts the command and leaves.
[[noreturn]] void startCommand(void* job) {
    const StreamCommand& command = *static_cast<const StreamCommand*>(job);
    int in = command.ends.commandInput;
    int out = command.ends.commandOutput;
    int err =
        command.errPath == nullptr ? -1 : open(command.errPath, O_RDWR | O_CREAT | O_APPEND, 0774);
    if (!command.isBrief) {
        // It waits for the command. An end of a pipe that it kept meanwhile would keep the pipe
        // open: the command would never see the end of its input, nor learn that its reader left.
        support::attachStandardStreams(in, out, err);
        support::closeOtherDescriptors();
        in = STDIN_FILENO;
        out = STDOUT_FILENO;
        err = STDERR_FILENO;
    }
    exec_pipeline(in, out, err, nullptr, command.doGlob, command.argv);
    _exit(1);
}

/// Starts the child and lists the record. Returns false when there is no child.
bool startAndList(StreamCommand& command, ExecStreamRecord* record) {
    // A child that waits for its command, expands words or builds a pipeline has to have memory
    // of its own; one that only detaches a command is gone before it could use any.
    command.isBrief = command.doGlob == 0 && support::isSingleInBackground(command.argv);
    pthread_rwlock_rdlock(&streamLock);
    record->pid = support::startChild(command.isBrief ? ChildMemory::shared : ChildMemory::copied,
                                      startCommand, &command);
    if (record->pid > 0) {
        record->next = openStreams.load(std::memory_order_relaxed);
        while (!openStreams.compare_exchange_weak(record->next, record)) {
        }
    }
    pthread_rwlock_unlock(&streamLock);
    return record->pid > 0;
}

/// Takes the record of `stream` off the list; null when there is none.
ExecStreamRecord* unlist(const FILE* stream) {
    pthread_rwlock_wrlock(&streamLock);
    ExecStreamRecord* before = nullptr;
    ExecStreamRecord* record = openStreams.load();
    while (record != nullptr && record->stream != stream) {
        before = record;
        record = record->next;
    }
    if (record != nullptr && before != nullptr) {
        before->next = record->next;
    } else if (record != nullptr) {
        openStreams.store(record->next);
    }
    pthread_rwlock_unlock(&streamLock);
    return record;
}

/// Raw wait status of `child`, or -1.
int waitForStatus(pid_t child) {
    int status = 0;
    while (waitpid(child, &status, 0) < 0) {
        if (errno != EINTR) {
            return -1;
        }
    }
    return status;
}

}  // namespace

FILE* exec_open_stream(const char* mode, const char* err_path, const char* log_path, char do_glob,
                       char** argv) {
    const CommandLog log(log_path, getpid());
    const char* name = argv == nullptr ? nullptr : argv[0];
    std::optional<StreamEnds> ends = openEnds(mode, name, log);
    if (!ends) {
        return nullptr;
    }
    ExecStreamRecord* record = newRecord(*ends);
    if (record == nullptr) {
        log.error("calloc fail: ", name);
        return nullptr;
    }
    FILE* stream = record->stream;
    StreamCommand command{*ends, err_path, do_glob, argv, false};
    const bool isStarted = startAndList(command, record);
    if (!isStarted) {
        log.error("vfork fail: ", name);
        fclose(stream);
        free(record);
        return nullptr;
    }
    return stream;
}

int exec_pclose(FILE* stream) {
    if (stream == nullptr) {
        return -1;
    }
    ExecStreamRecord* record = unlist(stream);
    if (record == nullptr) {
        return -1;
    }
    // Outside the lock: flushing a stream to a slow reader must not hold other streams up.
    fclose(stream);
    const pid_t child = record->pid;
    free(record);
    return waitForStatus(child);
}
