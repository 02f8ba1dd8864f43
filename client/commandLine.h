// The command line of kalloctl: global options, subcommands, help; called by main and the tests.
#pragma once

namespace client {

/// Parses the command line and runs its subcommand. Returns the program's exit status (see
/// ExitStatus); usage errors are told on standard error. Sets the process's LC_CTYPE.
int runCommandLine(int argc, const char* const* argv);

}  // namespace client
