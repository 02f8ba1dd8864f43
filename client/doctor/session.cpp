// The desktop session: its process, what it exports, and its screen.
#include <cstdlib>

#include "agent/desktopCheck.h"
#include "client/doctor/check.h"
#include "support/commandRunner.h"
#include "support/serverPaths.h"
#include "support/wholeFile.h"

namespace client::doctor {
namespace {

constexpr const char* kMarkers = "grep -l KALLO /proc/[0-9]*/cmdline";
constexpr const char* kUserVariable = "NasUser";
constexpr const char* kTimeLimit = "/usr/bin/timeout";

/// The variable of that name in an environment as in /proc/PID/environ; empty when there is none.
std::string variable(const std::string& environment, const std::string& name) {
    const std::string text = '\0' + environment;
    const std::string start = '\0' + name + "=";
    const size_t place = text.find(start);
    return place == std::string::npos ? "" : std::string(text.c_str() + place + start.size());
}

/// The same of the agent's environment; of this program's own while there is no agent.
std::string agentsVariable(const char* name) {
    const int pid = agentProcess();
    if (pid == 0) {
        const char* const own = getenv(name);
        return own == nullptr ? "" : own;
    }
    return variable(
        support::readWholeFile("/proc/" + std::to_string(pid) + "/environ").value_or(""), name);
}

}  // namespace

Findings checkSession(const Arguments& /*arguments*/) {
    const bool isUp = isDesktopRunning();
    const std::string exported = outputOf({server::kEnvironmentTool, "-r"});
    const bool hasUser = exported.find(kUserVariable) != std::string::npos;
    Findings findings;
    findings.push_back({"session process", Verdict::ok,
                        isUp ? "a process with KALLO in its command line runs" : "none runs"});
    if (isUp && !hasUser) {
        findings.push_back({"session user", Verdict::warning,
                            std::string(server::kEnvironmentTool) + " -r prints no NasUser",
                            std::string("let the desktop store it; if there is no desktop, find "
                                        "what is taken for one: ") +
                                kMarkers});
    } else if (!isUp && hasUser) {
        findings.push_back({"session user", Verdict::warning, "is exported, but no session runs",
                            "let the desktop clear its environment when it ends"});
    } else {
        findings.push_back({"session user", Verdict::ok, hasUser ? "is exported" : "nobody"});
    }
    return findings;
}

Findings checkScreen(const Arguments& /*arguments*/) {
    const std::string display = "DISPLAY=" + agentsVariable("DISPLAY");
    std::string texts[] = {kTimeLimit,
                           "5",
                           "/usr/bin/env",
                           "-i",
                           "HOME=" + agentsVariable("HOME"),
                           display,
                           "XAUTHORITY=" + agentsVariable("XAUTHORITY"),
                           server::kWindowTool,
                           "-lp"};
    std::vector<char*> words;
    for (std::string& text : texts) {
        words.push_back(text.data());
    }
    words.push_back(nullptr);
    if (exec_run_to_files_argv(nullptr, nullptr, nullptr, kTimeLimit, words.data()) == 0) {
        return {{display, Verdict::ok, "its windows are listed"}};
    }
    return {{display, isDesktopRunning() ? Verdict::failed : Verdict::warning,
             "wmctrl lists no windows there",
             "set DISPLAY and XAUTHORITY in a drop-in of the unit"}};
}

}  // namespace client::doctor
