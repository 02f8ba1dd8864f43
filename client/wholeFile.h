// Writes a file whole or not at all; `kalloctl icon` saves what it fetched with it.
#pragma once

#include <string>
#include <string_view>

namespace client {

/// Makes `bytes` the content of the file `path`: written to a temporary file in the same folder,
/// which then takes its place. A symbolic link stays and its target is replaced; an existing file
/// keeps its permissions; a device or pipe is written to in place. Returns false with the
/// reason in `error`, nothing being left behind.
bool writeWholeFile(const std::string& path, std::string_view bytes, std::string& error);

}  // namespace client
