// Texts of the agent (window titles, package names) on a person's terminal: made harmless and
// measured. Bytes are UTF-8.
#pragma once

#include <string>
#include <string_view>

namespace client {

/// Which control characters a text may keep.
enum class Controls { none, lineFeedAndTab };

/// `text` with each control character, each character that reorders or breaks lines, and each byte
/// that is no UTF-8 replaced by U+FFFD, so that it can neither steer a terminal nor forge a line.
std::string safeText(std::string_view text, Controls kept = Controls::none);

/// Columns that `text` takes on a terminal, by wcwidth(3) in the process's locale.
size_t displayWidth(std::string_view text);

}  // namespace client
