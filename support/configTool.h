// The server's configuration tool, which prints single values of INI files: the one way in which
// the agent asks it.
#pragma once

#include <string>
#include <vector>

namespace support {

/// Returns the command line that prints the value of `key` in `section` of `file`, for the command
/// runner. `fallback`, unless null, is what the tool prints for a value that is absent. Any thread.
std::vector<std::string> configReadWords(const std::string& section, const std::string& key,
                                         const char* fallback, const std::string& file);

}  // namespace support
