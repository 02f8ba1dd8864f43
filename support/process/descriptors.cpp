// Nothing here allocates: a child that shares the daemon's memory runs it.
#include "support/process/descriptors.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cstddef>
#include <cstdlib>
#include <cstring>

namespace support {
namespace {

constexpr int kFirstOther = STDERR_FILENO + 1;

/// `fd` itself, or a copy of it beyond the standard ones, so that placing one standard stream
/// never overwrites the source of the next.
int outOfTheWay(int fd) noexcept {
    if (fd < 0 || fd >= kFirstOther) {
        return fd;
    }
    const int copy = fcntl(fd, F_DUPFD_CLOEXEC, kFirstOther);
    return copy >= 0 ? copy : fd;
}

/// Places `source` or, when it is negative, `replacement` on `target`.
void attach(int source, int replacement, int target) noexcept {
    if (source < 0) {
        source = replacement >= 0 ? replacement : target;
    }
    dup2(source, target);
}

/// Closes what a chunk of directory entries names, but for the descriptor the entries come from.
void closeNamed(const char* entries, size_t size, int listing) noexcept {
    size_t length = 0;
    for (size_t at = 0; at < size; at += length) {
        const char* entry = entries + at;
        unsigned short recordLength = 0;
        memcpy(&recordLength, entry + offsetof(dirent64, d_reclen), sizeof recordLength);
        length = recordLength;
        // "." and ".." come out as 0.
        const auto fd = static_cast<int>(strtol(entry + offsetof(dirent64, d_name), nullptr, 10));
        if (fd >= kFirstOther && fd != listing) {
            close(fd);
        }
    }
}

}  // namespace

void attachStandardStreams(int in, int out, int err) noexcept {
    in = outOfTheWay(in);
    out = outOfTheWay(out);
    err = outOfTheWay(err);
    const int null = outOfTheWay(open("/dev/null", O_RDWR));
    attach(in, null, STDIN_FILENO);
    attach(out, null, STDOUT_FILENO);
    attach(err, null, STDERR_FILENO);
    lseek(STDIN_FILENO, 0, SEEK_SET);
}

void closeOtherDescriptors() noexcept {
#ifdef SYS_close_range
    if (syscall(SYS_close_range, static_cast<unsigned>(kFirstOther), ~0U, 0U) == 0) {
        return;
    }
#endif
    closeOtherDescriptorsOneByOne();
}

void closeOtherDescriptorsOneByOne() noexcept {
    const int listing = open("/proc/self/fd", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (listing < 0) {
        return;
    }
    // opendir(3) would allocate; getdents64(2) is what it stands on.
    alignas(dirent64) char entries[4096];
    ssize_t size = 0;
    while ((size = getdents64(listing, entries, sizeof entries)) > 0) {
        closeNamed(entries, static_cast<size_t>(size), listing);
    }
    close(listing);
}

}  // namespace support
