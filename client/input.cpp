#include "client/input.h"

#include <poll.h>
#include <termios.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <iterator>

namespace client {
namespace {

constexpr size_t lineLimit = 4096;
constexpr int interrupts[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT, SIGTSTP};

volatile sig_atomic_t caughtSignal = 0;

void catchSignal(int number) {
    caughtSignal = number;
}

// Turns echo off for as long as it lives. Signals are held back meanwhile and caught only in
// awaitInput, so that none is lost between a look at caughtSignal and the wait for the user.
class SilentTerminal final {
  public:
    SilentTerminal() {
        caughtSignal = 0;
        sigset_t held;
        sigemptyset(&held);
        struct sigaction action = {};
        action.sa_handler = catchSignal;
        for (size_t i = 0; i < std::size(interrupts); ++i) {
            sigaddset(&held, interrupts[i]);
            sigaction(interrupts[i], &action, &m_formerActions[i]);
        }
        sigprocmask(SIG_BLOCK, &held, &m_formerMask);
        m_known = tcgetattr(STDIN_FILENO, &m_former) == 0;
        termios silent = m_former;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        if (m_known) {
            tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
        }
    }
    ~SilentTerminal() {
        if (m_known) {
            tcsetattr(STDIN_FILENO, TCSAFLUSH, &m_former);
        }
        for (size_t i = 0; i < std::size(interrupts); ++i) {
            sigaction(interrupts[i], &m_formerActions[i], nullptr);
        }
        sigprocmask(SIG_SETMASK, &m_formerMask, nullptr);
    }
    SilentTerminal(const SilentTerminal&) = delete;
    SilentTerminal& operator=(const SilentTerminal&) = delete;

    /// False when a signal came first.
    bool awaitInput() const {
        pollfd input = {STDIN_FILENO, POLLIN, 0};
        while (caughtSignal == 0) {
            if (ppoll(&input, 1, nullptr, &m_formerMask) == 1) {
                return true;
            }
        }
        return false;
    }

  private:
    termios m_former = {};
    bool m_known = false;
    struct sigaction m_formerActions[std::size(interrupts)] = {};
    sigset_t m_formerMask = {};
};

// Byte by byte, so that nothing behind the line is taken.
bool readLine(std::string& line, const SilentTerminal* terminal) {
    line.clear();
    char byte = 0;
    while (line.size() <= lineLimit) {
        if (terminal != nullptr && !terminal->awaitInput()) {
            return false;
        }
        const ssize_t count = read(STDIN_FILENO, &byte, 1);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return count == 0 && !line.empty();
        }
        if (byte == '\n') {
            return true;
        }
        line += byte;
    }
    return false;
}

}  // namespace

bool readStandardInput(size_t limit, std::string& text) {
    text.clear();
    char buffer[4096];
    while (text.size() < limit) {
        const ssize_t count = read(STDIN_FILENO, buffer, sizeof buffer);
        if (count < 0 && errno != EINTR) {
            return false;
        }
        if (count == 0) {
            break;
        }
        text.append(buffer, count > 0 ? static_cast<size_t>(count) : 0);
    }
    text.resize(text.size() < limit ? text.size() : limit);
    return true;
}

bool readPassword(const char* prompt, bool ask, std::string& password) {
    if (!ask || isatty(STDIN_FILENO) != 1) {
        return readLine(password, nullptr);
    }
    for (;;) {
        bool complete = false;
        {
            const SilentTerminal silence;
            fputs(prompt, stderr);
            complete = readLine(password, &silence);
            fputc('\n', stderr);
        }
        if (caughtSignal == 0) {
            return complete;
        }
        raise(caughtSignal);  // with the terminal restored; a stopped program asks again later
        if (caughtSignal != SIGTSTP) {
            return false;
        }
    }
}

}  // namespace client
