// Starting a package: the part of CVexaManager that runs in new processes.
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "packages/vexaManager.h"
#include "support/logLine.h"

namespace {

constexpr const char* kShell = "/bin/sh";

/// Becomes the start command; runs in a process of its own. Descriptors and signal dispositions
/// stay as the agent has them; all of the agent's own descriptors are close-on-exec.
[[noreturn]] void runStartCommand(const std::string& command, const std::vector<exportEnv_s>& env) {
    setsid();
    [[maybe_unused]] const int moved = chdir("/");
    for (const exportEnv_s& variable : env) {
        // The desktop's programs decode the text themselves, so it is passed on as delivered.
        setenv(variable.name.c_str(), variable.raw.c_str(), 1);
    }
    execl(kShell, "sh", "-c", command.c_str(), static_cast<char*>(nullptr));
    support::logLine(support::Colour::none,
                     {"vexaManager", __LINE__,
                      "CVexaManager::startVexaExec(const string&, const std::vector<exportEnv_s>&, "
                      "bool)::<lambda()>"},
                     "execvp(%s) ... fail\n", command.c_str());
    _exit(0);
}

}  // namespace

int CVexaManager::startVexaExec(const std::string& vexaName, const std::vector<exportEnv_s>& env,
                                bool wait) {
    const PackageListPtr list = packages();
    const auto package = std::ranges::find(*list, vexaName, &PackageRecord::vexaName);
    if (package == list->end()) {
        return 0;
    }
    const pid_t child = fork();
    if (child < 0) {
        return -1;
    }
    if (child == 0) {
        // Not waited for: the start command is one generation further on, so that it belongs to
        // init as soon as this child has gone.
        if (wait || fork() == 0) {
            runStartCommand(package->start, env);
        }
        _exit(0);
    }
    int status = 0;
    // Any result of waitpid(2) but 0 counts as a failure here, its success included.
    return waitpid(child, &status, 0) != 0 ? -1 : status;
}
