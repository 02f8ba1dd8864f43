// Command line shared by rdconf and wrconf: plain words, with "-f FILE" (and for rdconf
// "-d DEFAULT") anywhere among them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "support/serverPaths.h"

struct ToolArguments {
    std::vector<std::string> words;  ///< SECTION, KEY and what else stands outside an option
    std::string file = server::kServerConf;
    std::optional<std::string> fallback;  ///< text of "-d"
    bool help = false;
};

/// Reads the command line. Returns nothing when an option lacks its argument, or when "-d" is
/// given to a tool that does not take it (`takesDefault` false).
std::optional<ToolArguments> parseToolArguments(int argc, char** argv, bool takesDefault);

/// Exit statuses of the two tools.
enum ToolStatus { toolDone = 0, toolAbsent = 1, toolFailed = 1, toolUsage = 2 };
