// Bringing child processes of the command runner into being: cheaply where the child only execs,
// as an ordinary fork where it has work of its own to do first.
#pragma once

#include <sys/types.h>

namespace support {

/// Whose memory a child works on until it execs or exits.
enum class ChildMemory {
    shared,  ///< the parent's own, the calling thread waiting meanwhile, as in vfork(2): the cost
             ///< does not grow with the parent. The child may call what a signal handler may,
             ///< start children of its own, exec and _exit; it must not allocate.
    copied   ///< a copy, as in fork(2): the child may do anything.
};

/// Starts a child that runs `body(job)`, which must end in an exec or in _exit(2). The child starts
/// with the calling thread's signal mask, with ignored signals ignored and all others at their
/// defaults: what an exec would leave of them. No handler of the parent ever runs in it.
/// `job` is read in the child only until the exec; results come back by exit status alone, since
/// sanitizers turn the shared memory into a copy.
/// Returns the child's process id, or -1 with errno set when none could be started; errno is left
/// alone otherwise. The caller owes a waitpid(2). Any thread.
pid_t startChild(ChildMemory memory, void (*body)(void* job), void* job) noexcept;

}  // namespace support
