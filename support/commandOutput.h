// Reading the first bytes that a command prints: what nearly every handler wants of a tool.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace support {

/// Runs `words` detached through the command runner and reads at most `limit` bytes of its
/// standard output; the rest is not waited for. Returns the bytes read (possibly none, embedded
/// NUL bytes included), or nothing when the command could not be started. Blocks until the command
/// has printed `limit` bytes or closed its output. `words` may hold "|". Any thread.
std::optional<std::string> readCommandOutput(const std::vector<std::string>& words, size_t limit);

}  // namespace support
