// Which programs may not receive a pipe: those that would run what they read.
#pragma once

namespace support {

/// True when `program` names a shell or script interpreter, alone or at the end of a path or of a
/// name in several words ("/usr/bin/python3.8", "my-sh"), and also when it cannot be told.
/// Call it in a single-threaded process (the command runner's forked children): the C library's
/// matcher holds a lock that a fork in another thread would copy as taken.
bool isShell(const char* program) noexcept;

}  // namespace support
