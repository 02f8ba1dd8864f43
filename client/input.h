// What kalloctl reads from its user: a password, asked for without echo, or standard input.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace client {

/// Reads standard input to its end, at most `limit` bytes. Nothing when it cannot be read.
std::optional<std::string> readStandardInput(size_t limit);

/// Reads one line, without its line feed: from standard input; or, when that is a terminal and
/// `ask` is set, behind `prompt` from the controlling terminal (tty(4)), where nothing is echoed.
/// The terminal is restored before a signal that interrupts the prompt takes effect; a program
/// that was stopped asks again. Nothing when no line can be read or it has more than 4096 bytes.
/// Single-threaded programs only: signal dispositions are changed meanwhile.
std::optional<std::string> readPassword(const char* prompt, bool ask);

}  // namespace client
