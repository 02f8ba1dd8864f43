// The one form of the agent's diagnostics: "[File:%s][Line:%d][Func:%s]: " and a message, on
// standard error, in a colour that tells its kind on a terminal.
#pragma once

namespace support {

/// Colour of a whole line, its line feed included; the terminal's own colour follows it.
enum class Colour {
    none,
    error,       ///< bold red
    request,     ///< bold yellow: what a client asked, and packages passed over
    answer,      ///< bold green: what is announced to a client
    resultType,  ///< bold cyan: kind of an answer, and the signal line of a crash
    closing      ///< cyan: end of a connection
};

/// Where a line comes from. `function` is the full signature as integrators' log filters know it,
/// which is not always the text of __PRETTY_FUNCTION__.
struct LogSource {
    const char* file;
    int line;
    const char* function;
};

/// Writes one line to standard error: the source fields, then `format` filled as by printf(3).
/// The line is written with one write(2), so lines of different threads do not mix. One that cannot
/// be written is dropped: no SIGPIPE when nobody reads any more, no SIGXFSZ at the size limit of a
/// file. Any thread; errno is left unchanged.
[[gnu::format(printf, 3, 4)]] void logLine(Colour colour, const LogSource& source,
                                           const char* format, ...) noexcept;

/// Writes `format`, filled as by printf(3), to standard error with one write(2), or drops it, as
/// above: for lines whose form is not that of logLine. Any thread; errno is left unchanged.
[[gnu::format(printf, 1, 2)]] void printError(const char* format, ...) noexcept;

/// Writes to standard output as printf(3) does, or drops it, as above. Any thread; errno is left
/// unchanged.
[[gnu::format(printf, 1, 2)]] void printOut(const char* format, ...) noexcept;

}  // namespace support
