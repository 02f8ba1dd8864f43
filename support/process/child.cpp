// The order of signal calls is that of posix_spawn(3), for the same reasons.
#include "support/process/child.h"

#include <pthread.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

namespace support {
namespace {

bool hasHandler(int number) noexcept {
    struct sigaction action {};
    if (sigaction(number, nullptr, &action) != 0) {
        return false;  // no such signal, or one of the C library's own
    }
    const bool isPlain = (action.sa_flags & SA_SIGINFO) == 0;
    return !isPlain || (action.sa_handler != SIG_DFL && action.sa_handler != SIG_IGN);
}

/// Keeps every handler and a cancellation away from the calling thread for the object's life.
class UndisturbedThread {
  public:
    UndisturbedThread() noexcept {
        sigset_t blocked;
        sigfillset(&blocked);
        if (!hasHandler(SIGCHLD)) {
            // The kernel drops one at once. Were it blocked here, the end of a brief child would
            // be kept for another thread and interrupt what that one waits in.
            sigdelset(&blocked, SIGCHLD);
        }
        pthread_setcancelstate(PTHREAD_CANCEL_DISABLE, &m_cancelState);
        pthread_sigmask(SIG_BLOCK, &blocked, &m_mask);
    }
    ~UndisturbedThread() {
        pthread_sigmask(SIG_SETMASK, &m_mask, nullptr);
        pthread_setcancelstate(m_cancelState, nullptr);
    }
    UndisturbedThread(const UndisturbedThread&) = delete;
    UndisturbedThread& operator=(const UndisturbedThread&) = delete;

    /// The mask that the thread had before.
    const sigset_t& mask() const noexcept { return m_mask; }

  private:
    sigset_t m_mask{};
    int m_cancelState = PTHREAD_CANCEL_ENABLE;
};

/// A handler that ran in a child sharing memory would write into the daemon itself.
void dropHandlers() noexcept {
    for (int number = 1; number < NSIG; ++number) {
        if (hasHandler(number)) {
            struct sigaction action {};
            action.sa_handler = SIG_DFL;
            sigaction(number, &action, nullptr);
        }
    }
}

/// Not inlined: a child sharing memory also shares the frame it was started from, and must leave
/// that frame as the parent will need it.
[[noreturn, gnu::noinline]] void enterChild(const sigset_t& mask, void (*body)(void* job),
                                            void* job) noexcept {
    dropHandlers();
    sigprocmask(SIG_SETMASK, &mask, nullptr);
    body(job);
    _exit(1);
}

}  // namespace

pid_t startChild(ChildMemory memory, void (*body)(void* job), void* job) noexcept {
    const UndisturbedThread undisturbed;
    const int errorBefore = errno;
    pid_t child = -1;
    if (memory == ChildMemory::shared) {
        child = vfork();
    } else {
        child = fork();
    }
    if (child == 0) {
        // NOLINTNEXTLINE(clang-analyzer-unix.Vfork): what the body may do is the header's contract
        enterChild(undisturbed.mask(), body, job);
    }
    if (child > 0) {
        errno = errorBefore;
    }
    return child;
}

}  // namespace support
