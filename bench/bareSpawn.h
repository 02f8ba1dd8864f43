// The bare way to start a program, which the benchmarks measure against.
#pragma once

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

/// posix_spawn(3) of `argv` with its output on `output` (negative: inherited); -1 on failure.
inline pid_t spawn(const char* const* argv, int output) {
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (output >= 0) {
        posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    }
    pid_t child = -1;
    const int error =
        posix_spawn(&child, argv[0], &actions, nullptr, const_cast<char**>(argv), environ);
    posix_spawn_file_actions_destroy(&actions);
    return error == 0 ? child : -1;
}

/// Runs `argv` and reads its output to the end. Returns the bytes read, or -1 when it could not be
/// started.
inline ssize_t spawnAndRead(const char* const* argv) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return -1;
    }
    const pid_t child = spawn(argv, ends[1]);
    close(ends[1]);
    char output[4096];
    ssize_t total = 0;
    for (ssize_t count; (count = read(ends[0], output, sizeof output)) > 0; total += count) {
    }
    close(ends[0]);
    return waitpid(child, nullptr, 0) == child ? total : -1;
}
