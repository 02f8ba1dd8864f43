// The file through which a login hands the password over to the local channel.
#pragma once

#include <string>
#include <string_view>

namespace handOver {

/// Replaces the file's content by `text`, making the directory when missing; a file that is made
/// anew may be read by root alone. Returns true when the whole text, which is not empty, was
/// written, synchronised and closed without an error. Never waits for a reader.
bool store(std::string_view text);

/// The whole file; empty when it cannot be read or is no regular file.
std::string load();

}  // namespace handOver
