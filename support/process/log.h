// The optional log file of one call of the command runner.
#pragma once

#include <sys/types.h>

#include "support/handles.h"

namespace support {

/// Appends "[WARN] [<pid>] ..." and "[ERROR] [<pid>] ..." lines to a file that is open for the
/// life of the object, usable in forked children as well. Without a path, or when the file cannot
/// be opened or created, nothing is logged. One object serves one thread.
class CommandLog final {
  public:
    /// `path` may be null; `caller` is the process that called the library, whatever process
    /// writes the line.
    CommandLog(const char* path, pid_t caller) noexcept;

    /// One line each: `text` and, directly behind it, `subject` (null prints "(null)").
    void warn(const char* text, const char* subject = "") const noexcept;
    void error(const char* text, const char* subject = "") const noexcept;

  private:
    void write_(const char* level, const char* text, const char* subject) const noexcept;

    Stream m_file;
    pid_t m_caller;
};

}  // namespace support
