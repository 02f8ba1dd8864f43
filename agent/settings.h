// The desktop's settings file, which is read and written only through the server's tools.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace settings {

/// Makes the settings files of the desktop, empty, where they are missing. They are root's,
/// whatever HOME says. Returns 0, or -1 when their directory can be neither found nor made.
int prepare();

/// The settings file below the agent's HOME, which is looked up at every call.
std::string path();

/// Reads at most `limit` bytes of a key's value as the read tool prints it; `fallback`, when not
/// null, is what the tool prints for an absent key. Nothing when the tool could not be started.
std::optional<std::string> read(const char* section, const char* key, const char* fallback,
                                size_t limit);

/// Runs the write tool: section, key, then `values` (one, or none where the caller has none), then
/// the file. Waits for it; a failure is not reported.
void write(const char* section, const char* key, const std::vector<std::string>& values);

}  // namespace settings
