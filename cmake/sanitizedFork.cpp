// Part of every program that GCC instruments with AddressSanitizer. Before GCC 14 a forked child
// gets the runtime's locks as they are: one that another thread holds to allocate is never released
// there. The functions of its leak check hold them during a fork, as fork(3) does those of
// malloc(3).
#include <pthread.h>

#include <csignal>

namespace __lsan {
void LockThreadRegistry();
void UnlockThreadRegistry();
void LockAllocator();
void UnlockAllocator();
}  // namespace __lsan
namespace __sanitizer {
void StackDepotLockAll();
void StackDepotUnlockAll();
}  // namespace __sanitizer

namespace {

sigset_t maskBefore;

/// A signal handler that leaves the process needs the locks.
void holdLocks() {
    sigset_t all;
    sigfillset(&all);
    sigset_t before;
    pthread_sigmask(SIG_BLOCK, &all, &before);
    __lsan::LockThreadRegistry();
    __lsan::LockAllocator();
    __sanitizer::StackDepotLockAll();
    maskBefore = before;  // under the locks, as other threads fork, too
}

void releaseLocks() {
    const sigset_t before = maskBefore;
    __sanitizer::StackDepotUnlockAll();
    __lsan::UnlockAllocator();
    __lsan::UnlockThreadRegistry();
    pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

[[maybe_unused]] const int forkHandlers = pthread_atfork(holdLocks, releaseLocks, releaseLocks);

}  // namespace
