#include "support/logLine.h"

#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <ctime>
#include <initializer_list>
#include <new>
#include <string>
#include <string_view>

namespace support {
namespace {

constexpr const char* kColourEnd = "\033[m";
constexpr size_t kLongestStart = 512;  // of a line: its colour and its source

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

/// Keeps the signals that a write may raise from the calling thread: SIGPIPE for a reader that is
/// gone, SIGXFSZ at a file's size limit (setrlimit(2)). They are blocked, and one that a write
/// raised is taken off again. The dispositions are not touched, because programs that the agent
/// starts inherit them. Changes errno.
class WriteSignalGuard {
  public:
    WriteSignalGuard() noexcept {
        const sigset_t raisable = setOf_({SIGPIPE, SIGXFSZ});
        pthread_sigmask(SIG_BLOCK, &raisable, &m_before);
        errno = 0;
    }
    WriteSignalGuard(const WriteSignalGuard&) = delete;
    WriteSignalGuard& operator=(const WriteSignalGuard&) = delete;
    ~WriteSignalGuard() {
        const int raised = errno == EPIPE ? SIGPIPE : errno == EFBIG ? SIGXFSZ : 0;
        // A thread that had it blocked before gets none, and one that waits there is not ours.
        if (raised != 0 && sigismember(&m_before, raised) == 0) {
            const sigset_t taken = setOf_({raised});
            const timespec none{};
            sigtimedwait(&taken, nullptr, &none);
        }
        pthread_sigmask(SIG_SETMASK, &m_before, nullptr);
    }

  private:
    static sigset_t setOf_(std::initializer_list<int> numbers) noexcept {
        sigset_t set{};
        sigemptyset(&set);
        for (const int number : numbers) {
            sigaddset(&set, number);
        }
        return set;
    }

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

/// Writes what is between `start` and `end` around the filled `format`. The line is dropped when
/// there is no memory for it: whoever logs must not fail for that.
void writeLine(std::string_view start, std::string_view end, const char* format,
               va_list arguments) noexcept {
    const int savedErrno = errno;
    try {
        std::string text(start);
        appendFormatted(text, format, arguments);
        text.append(end);
        const WriteSignalGuard guard;
        [[maybe_unused]] const ssize_t written = ::write(STDERR_FILENO, text.data(), text.size());
    } catch (const std::bad_alloc&) {
    }
    errno = savedErrno;
}

}  // namespace

void logLine(Colour colour, const LogSource& source, const char* format, ...) noexcept {
    char start[kLongestStart];
    snprintf(start, sizeof start, "%s[File:%s][Line:%d][Func:%s]: ", colourStart(colour),
             source.file, source.line, source.function);
    va_list arguments;
    va_start(arguments, format);
    writeLine(start, colour == Colour::none ? "" : kColourEnd, format, arguments);
    va_end(arguments);
}

void printError(const char* format, ...) noexcept {
    va_list arguments;
    va_start(arguments, format);
    writeLine("", "", format, arguments);
    va_end(arguments);
}

void printOut(const char* format, ...) noexcept {
    const int savedErrno = errno;
    va_list arguments;
    va_start(arguments, format);
    {
        const WriteSignalGuard guard;
        vprintf(format, arguments);
    }
    va_end(arguments);
    errno = savedErrno;
}

}  // namespace support
