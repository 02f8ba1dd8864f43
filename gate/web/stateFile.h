// What the gate keeps over a restart: random secrets, and files that are its user's alone.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace gate {

inline constexpr const char* kStateDirectory = "/var/lib/kallogate";

/// Returns `count` bytes nobody can guess. Throws std::runtime_error when the library has none. Any
/// thread.
std::string randomBytes(size_t count);

/// Makes `bytes` the content of the file at `path` in one step, on the disk before this returns; a
/// new file has mode 0600, and a missing directory is made with 0700. Throws std::runtime_error
/// ("PATH: REASON"), the file untouched. One thread at a time: the umask is set meanwhile.
void writeStateFile(const std::string& path, std::string_view bytes);

}  // namespace gate
