#include "client/input.h"

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

// Turns echo off and holds signals back for as long as it lives.
class SilentTerminal final {
  public:
    SilentTerminal() {
        caughtSignal = 0;
        struct sigaction action = {};
        action.sa_handler = catchSignal;  // without SA_RESTART: a signal ends the read
        for (size_t i = 0; i < std::size(interrupts); ++i) {
            sigaction(interrupts[i], &action, &m_formerActions[i]);
        }
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
    }
    SilentTerminal(const SilentTerminal&) = delete;
    SilentTerminal& operator=(const SilentTerminal&) = delete;

  private:
    termios m_former = {};
    bool m_known = false;
    struct sigaction m_formerActions[std::size(interrupts)] = {};
};

// Byte by byte, so that nothing behind the line is taken.
bool readLine(std::string& line) {
    line.clear();
    char byte = 0;
    while (line.size() <= lineLimit) {
        const ssize_t count = read(STDIN_FILENO, &byte, 1);
        if (count < 0 && errno == EINTR && caughtSignal == 0) {
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
    caughtSignal = 0;
    if (!ask || isatty(STDIN_FILENO) != 1) {
        return readLine(password);
    }
    for (;;) {
        bool complete = false;
        {
            const SilentTerminal silence;
            fputs(prompt, stderr);
            complete = readLine(password);
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
