// A file that is in memory only, for code that reads its input by a path.
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <cassert>
#include <string>
#include <string_view>

namespace fuzz {

/// An empty file, close-on-exec, that goes with the object.
class MemoryFile {
  public:
    MemoryFile() : m_fd(memfd_create("fuzz", MFD_CLOEXEC)) { assert(m_fd >= 0); }
    explicit MemoryFile(std::string_view content) : MemoryFile() {
        const ssize_t written = write(m_fd, content.data(), content.size());
        assert(written == static_cast<ssize_t>(content.size()));
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile() { close(m_fd); }

    /// Good as long as the object, in this process.
    [[nodiscard]] std::string path() const { return "/proc/self/fd/" + std::to_string(m_fd); }

  private:
    int m_fd;
};

}  // namespace fuzz
