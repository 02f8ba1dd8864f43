// How the agent ends by signal: with status 0, and with a report when it crashed.
#pragma once

#include <csignal>

/// Handler of SIGSEGV and SIGINT. A SIGSEGV leaves a backtrace on standard output and in
/// /var/log/kalloagent.core first. The process ends with status 0 either way, so that whoever
/// started it sees no difference between a crash and an interrupt.
void signal_handler(int sig, siginfo_t* info, void* context);

/// Installs signal_handler for both signals. Called once, by the main thread.
void installSignalHandlers();
