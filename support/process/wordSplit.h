// Cutting a command text into words for the command runner, which takes vectors and never a shell.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace support {

/// Cuts `text` into words at blanks (spaces). A pair of double quotes or of single quotes groups
/// its contents into one word and is dropped, also in the middle of a word; an empty pair is an
/// empty word; a quote that is never closed groups the rest. A backslash takes the next character
/// literally everywhere, inside quotes too; a last lone backslash is dropped. A word "|" or "&"
/// comes out like any other; the command runner gives it its meaning.
/// Never fails; any thread.
std::vector<std::string> splitWords(std::string_view text);

}  // namespace support
