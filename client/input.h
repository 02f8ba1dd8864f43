// What kalloctl reads from its user: a password, asked for without echo, or standard input.
#pragma once

#include <cstddef>
#include <string>

namespace client {

/// Reads standard input to its end, at most `limit` bytes. False when it cannot be read.
bool readStandardInput(size_t limit, std::string& text);

/// Reads one line from standard input, without its line feed; when standard input is a terminal and
/// `ask` is set, `prompt` is shown on standard error and nothing is echoed. The terminal is
/// restored before any signal that interrupts the prompt takes effect. False when no line can be
/// read or it has more than 4096 bytes. Single-threaded programs only: signal dispositions are
/// changed meanwhile.
bool readPassword(const char* prompt, bool ask, std::string& password);

}  // namespace client
