// Completion scripts for the shells, made from the table of subcommands.
#pragma once

#include <string>

namespace client {

/// `pattern`, a file of client/completion, with each "@NAME@" replaced by what the table says.
std::string completionText(std::string pattern);

}  // namespace client
