// Reading the first bytes that a command prints: what nearly every handler wants of a tool.
#pragma once

#include <cstddef>
#include <cstdio>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "support/commandRunner.h"

namespace support {

/// A command that has been started, detached, to be read from. Several may be started before the
/// first of them is read. One thread at a time; destroying it leaves the command to itself.
class CommandOutput {
  public:
    /// Starts `words` through the command runner; they may hold "|".
    explicit CommandOutput(std::vector<std::string> words);

    /// Returns the first `limit` bytes of the command's standard output (possibly none, embedded
    /// NUL bytes included), or nothing when it could not be started. Blocks until the command has
    /// printed as much or closed its output; the rest is not waited for. To be called once.
    std::optional<std::string> read(size_t limit);

  private:
    struct Closer {
        void operator()(FILE* stream) const noexcept { exec_pclose(stream); }
    };
    std::unique_ptr<FILE, Closer> m_stream;
};

/// Starts `words` and reads at most `limit` bytes of what they print. Any thread.
std::optional<std::string> readCommandOutput(std::vector<std::string> words, size_t limit);

}  // namespace support
