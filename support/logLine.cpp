#include "support/logLine.h"

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <string>

namespace support {
namespace {

constexpr const char* kColourEnd = "\033[m";

const char* colourStart(Colour colour) {
    switch (colour) {
        case Colour::none:
            return "";
        case Colour::error:
            return "\033[1;31m";
        case Colour::request:
            return "\033[1;33m";
        case Colour::answer:
            return "\033[1;32m";
        case Colour::resultType:
            return "\033[1;36m";
        case Colour::closing:
            return "\033[0;36m";
    }
    return "";
}

/// Keeps a SIGPIPE of the enclosed writes from the calling thread: it is blocked, and one that a
/// write raised is taken off again. The disposition itself is not touched, because programs that
/// the agent starts inherit it. Changes errno.
class PipeSignalGuard {
  public:
    PipeSignalGuard() noexcept {
        sigemptyset(&m_pipe);
        sigaddset(&m_pipe, SIGPIPE);
        pthread_sigmask(SIG_BLOCK, &m_pipe, &m_before);
        errno = 0;
    }
    PipeSignalGuard(const PipeSignalGuard&) = delete;
    PipeSignalGuard& operator=(const PipeSignalGuard&) = delete;
    ~PipeSignalGuard() {
        // A thread that had it blocked before gets none, and one that waits there is not ours.
        if (errno == EPIPE && sigismember(&m_before, SIGPIPE) == 0) {
            const timespec none{};
            sigtimedwait(&m_pipe, nullptr, &none);
        }
        pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
    }

  private:
    sigset_t m_pipe{};
    sigset_t m_before{};
};

void appendFormatted(std::string& text, const char* format, va_list arguments) {
    va_list again;
    va_copy(again, arguments);
    const int length = vsnprintf(nullptr, 0, format, again);
    va_end(again);
    if (length <= 0) {
        return;
    }
    const size_t start = text.size();
    text.resize(start + static_cast<size_t>(length) + 1);
    vsnprintf(text.data() + start, static_cast<size_t>(length) + 1, format, arguments);
    text.pop_back();
}

void writeError(const std::string& text) {
    const PipeSignalGuard guard;
    [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
}

}  // namespace

void logLine(Colour colour, const LogSource& source, const char* format, ...) noexcept {
    const int savedErrno = errno;
    std::string text = colourStart(colour);
    text.append("[File:").append(source.file);
    text.append("][Line:").append(std::to_string(source.line));
    text.append("][Func:").append(source.function).append("]: ");
    va_list arguments;
    va_start(arguments, format);
    appendFormatted(text, format, arguments);
    va_end(arguments);
    if (colour != Colour::none) {
        text.append(kColourEnd);
    }
    writeError(text);
    errno = savedErrno;
}

void printError(const char* format, ...) noexcept {
    const int savedErrno = errno;
    std::string text;
    va_list arguments;
    va_start(arguments, format);
    appendFormatted(text, format, arguments);
    va_end(arguments);
    writeError(text);
    errno = savedErrno;
}

void printOut(const char* format, ...) noexcept {
    const int savedErrno = errno;
    va_list arguments;
    va_start(arguments, format);
    {
        const PipeSignalGuard guard;
        vprintf(format, arguments);
    }
    va_end(arguments);
    errno = savedErrno;
}

}  // namespace support
