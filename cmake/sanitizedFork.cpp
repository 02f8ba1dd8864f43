// Part of every program that GCC instruments with AddressSanitizer. Before GCC 14 a forked child
// gets the runtime's locks as they are: one that another thread holds to allocate is never released
// there. The functions of its leak check hold them during a fork, as fork(3) does those of
// malloc(3).
#include <pthread.h>

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

void holdLocks() {
    __lsan::LockThreadRegistry();
    __lsan::LockAllocator();
    __sanitizer::StackDepotLockAll();
}

void releaseLocks() {
    __sanitizer::StackDepotUnlockAll();
    __lsan::UnlockAllocator();
    __lsan::UnlockThreadRegistry();
}

[[maybe_unused]] const int forkHandlers = pthread_atfork(holdLocks, releaseLocks, releaseLocks);

}  // namespace
