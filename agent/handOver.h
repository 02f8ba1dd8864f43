// The file through which a login hands the password over to the local channel.
#pragma once

#include <string>

namespace handOver {

inline constexpr const char* kDirectory = "/usr/share/.kallo";
inline constexpr const char* kPasswordFile = "/usr/share/.kallo/.kallopw.log";

/// Replaces the file's content by `text`, making the directory when missing; a file that is made
/// anew may be read by root alone. Returns true when the whole text was written, flushed, synced
/// and closed without an error.
bool store(const char* text);

/// The whole file; empty when it cannot be read, whatever stands in its place.
std::string load();

}  // namespace handOver
