// The checks of `kalloctl doctor`: each looks at one concern of the server that it runs on, from
// outside and with paths of its own, and tells what it found.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "client/arguments.h"

namespace client::doctor {

enum class Verdict { ok, warning, failed };

/// One row of the report.
struct Finding {
    std::string what;  ///< a path or another name of what was looked at
    Verdict verdict;
    std::string found;
    std::string remedy{};  ///< empty when all is well
};

using Findings = std::vector<Finding>;

struct Check {
    const char* area;
    Findings (*run)(const Arguments& arguments);  ///< reads alone; may wait for some seconds
};

/// Every check, in the order of the report.
std::span<const Check> checks();

Findings checkTools(const Arguments& arguments);
Findings checkFiles(const Arguments& arguments);
Findings checkPackages(const Arguments& arguments);
Findings checkAgent(const Arguments& arguments);
Findings checkPort(const Arguments& arguments);
Findings checkSession(const Arguments& arguments);
Findings checkScreen(const Arguments& arguments);

/// The process of the agent by its pid file; 0 when none runs.
int agentProcess();

/// What the first bytes of a command's output are, at most 64 KiB; empty when it prints nothing,
/// cannot be started or takes longer than five seconds. `words` as for support/commandRunner.h.
std::string outputOf(std::vector<std::string> words);

}  // namespace client::doctor
