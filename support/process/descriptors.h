// The descriptors that a command starts with: three standard streams and nothing else. Called in
// the command runner's children only, also in those that share the parent's memory.
#pragma once

namespace support {

/// Puts `in`, `out` and `err` on the descriptors 0, 1 and 2, "/dev/null" in place of a negative
/// one; input is set back to its start where it can be. The given descriptors may themselves be
/// standard ones, in any order. Async-signal-safe.
void attachStandardStreams(int in, int out, int err) noexcept;

/// Closes every descriptor of 3 and above in the calling process. Async-signal-safe.
void closeOtherDescriptors() noexcept;

/// The same by walking "/proc/self/fd", for kernels without close_range(2) (before Linux 5.9).
/// Ends at the first read error; without a mounted /proc nothing is closed. Async-signal-safe.
void closeOtherDescriptorsOneByOne() noexcept;

}  // namespace support
