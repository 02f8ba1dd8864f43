#include "agent/crashReport.h"

#include <execinfo.h>
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "agent/logSources.h"
#include "support/handles.h"
#include "support/serverPaths.h"

namespace {

constexpr mode_t kCrashLogMode = 0600;
constexpr int kMaxFrames = 256;
constexpr size_t kCrashLine = 1024;
constexpr unsigned kReportSeconds = 10;

void writeWhole(int fd, const char* text) {
    [[maybe_unused]] const ssize_t written = write(fd, text, strlen(text));
}

/// Prints `line` and what `printedAfter` holds, and puts the line into the report file.
void reportLine(int file, const char* line, const char* printedAfter) {
    writeWhole(STDOUT_FILENO, line);
    writeWhole(STDOUT_FILENO, printedAfter);
    if (file >= 0) {
        writeWhole(file, line);
    }
}

void writeCrashReport(pid_t sender) {
    const support::Descriptor file(open(server::kCrashReport,
                                        O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC | O_NONBLOCK,
                                        kCrashLogMode));
    void* frames[kMaxFrames];
    const int count = backtrace(frames, kMaxFrames);
    char** symbols = backtrace_symbols(frames, count);
    char line[kCrashLine];
    snprintf(line, sizeof line, "[sig:%d  sig->pid:%d] self:%d\n", SIGSEGV, sender, getpid());
    reportLine(file.get(), line, "\n");
    for (int i = 0; i < count && symbols != nullptr; ++i) {
        snprintf(line, sizeof line, "[sig:%d](%d): %s\n", SIGSEGV, i, symbols[i]);
        reportLine(file.get(), line, "");
    }
    free(symbols);
}

/// Lets the process end with status 0 also when the report itself crashes (the heap may be what is
/// broken) or hangs (a crash that holds the allocator's lock waits for itself).
void guardReport() {
    constexpr int kStops[] = {SIGSEGV, SIGBUS, SIGABRT, SIGALRM};
    struct sigaction action {};
    action.sa_handler = [](int) { _exit(0); };
    sigset_t stops;
    sigemptyset(&stops);
    for (const int number : kStops) {
        sigaction(number, &action, nullptr);
        sigaddset(&stops, number);
    }
    // SIGSEGV is blocked while its handler runs; a blocked one would kill.
    pthread_sigmask(SIG_UNBLOCK, &stops, nullptr);
    alarm(kReportSeconds);
}

/// Ends the process without exit handlers, which are not safe in a signal handler; builds with a
/// sanitizer or coverage take them, because their runtimes report from there.
[[noreturn]] void leave() {
#ifdef KALLO_INSTRUMENTED
    exit(0);
#else
    _exit(0);
#endif
}

}  // namespace

void signal_handler(int sig, siginfo_t* info, void* /*context*/) {
    if (sig == SIGSEGV) {
        guardReport();
        // Nobody may be left to read the standard output, or it may be a file at its size limit;
        // the report is still to be written.
        signal(SIGPIPE, SIG_IGN);
        signal(SIGXFSZ, SIG_IGN);
        support::logLine(support::Colour::resultType,
                         logSources::here("void signal_handler(int, siginfo_t*, void*)"),
                         "sig:%d  pid:%d\n", SIGSEGV, info->si_pid);
        writeCrashReport(info->si_pid);
    }
    leave();
}

void installSignalHandlers() {
    // The first backtrace loads the unwinder, which a crash had better find loaded.
    void* frame = nullptr;
    backtrace(&frame, 1);
    struct sigaction action {};
    action.sa_sigaction = signal_handler;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_SIGINFO | SA_NOCLDWAIT | SA_RESTART;
    sigaction(SIGSEGV, &action, nullptr);
    sigaction(SIGINT, &action, nullptr);
}
