// QR codes as lines of text.
#pragma once

#include <string>

namespace gate {

/// Returns `text` (UTF-8) as a QR code: two rows of modules a line, made of half blocks, with a
/// quiet zone of four modules. With `isColoured` it is black on white whatever the terminal's
/// colours are; without, it can be scanned where text is dark on light. Throws std::runtime_error
/// when there is more text than a code holds. Any thread.
std::string qrText(const std::string& text, bool isColoured);

}  // namespace gate
