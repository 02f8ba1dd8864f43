// Making a directory with its missing parents, as several writers of state files need it.
#pragma once

#include <sys/types.h>

#include <string>

namespace support {

/// Creates the directory `path` and its missing parents with permission bits `mode` (less the
/// process's umask). Returns 0 when the directory stands afterwards, also when it stood before,
/// else -1 with errno set. Any thread.
int makeDirectories(const std::string& path, mode_t mode) noexcept;

}  // namespace support
