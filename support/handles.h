// Owners of what the kernel and the C library hand out: a descriptor and a stdio stream, each
// closed with the scope. Everything that opens something holds it in one of these.
#pragma once

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <memory>
#include <utility>

namespace support {

/// Owns a file descriptor, or none (-1). Closing leaves errno as it was, so that the reason of a
/// failure outlives the clean-up. An object belongs to one thread at a time.
class Descriptor {
  public:
    Descriptor() noexcept = default;
    /// Takes over `fd`; a negative one is none.
    explicit Descriptor(int fd) noexcept : m_fd(fd) {}
    Descriptor(Descriptor&& other) noexcept : m_fd(other.release()) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        reset(other.release());
        return *this;
    }
    ~Descriptor() { reset(); }

    explicit operator bool() const noexcept { return m_fd >= 0; }
    int get() const noexcept { return m_fd; }
    /// Gives the descriptor to the caller.
    [[nodiscard]] int release() noexcept { return std::exchange(m_fd, -1); }
    /// Closes what is held and takes over `fd`.
    void reset(int fd = -1) noexcept {
        const int closed = std::exchange(m_fd, fd);
        if (closed >= 0) {
            const int reason = errno;
            ::close(closed);
            errno = reason;
        }
    }
    /// Closes what is held. Returns the result of close(2), which tells of a write that failed
    /// late.
    [[nodiscard]] int close() noexcept { return ::close(release()); }

  private:
    int m_fd = -1;
};

struct StreamCloser {
    void operator()(FILE* stream) const noexcept { fclose(stream); }
};

/// Owns a stdio stream, or none. Streams of the command runner are not closed this way.
using Stream = std::unique_ptr<FILE, StreamCloser>;

}  // namespace support

// The same for plain variables: nothing happens for a null pointer or what is already reset.

/// Closes `*fd` unless negative and stores -1.
void close_fd_reset(int* fd);
/// Frees `*pointer` and stores null.
void free_reset(void** pointer);
/// Closes `*stream` and stores null.
void fclose_reset(FILE** stream);
