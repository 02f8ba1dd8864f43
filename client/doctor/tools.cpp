// The programs that the agent starts: are they there, and do they answer as it expects?
#include <unistd.h>

#include "client/doctor/check.h"
#include "support/commandOutput.h"
#include "support/serverPaths.h"

namespace client::doctor {
namespace {

constexpr const char* kFirmware = "put the server's own tool at this path";
constexpr const char* kCoreutils = "install coreutils";

struct Tool {
    const char* path;
    std::vector<std::string> words;  ///< a harmless command line; none: it is not run
    std::string answer;              ///< what that prints, among other things
    const char* remedy;
    Verdict verdict = Verdict::failed;  ///< when the tool is missing or answers otherwise
};

std::vector<Tool> tools() {
    return {
        {server::kReadTool,
         {server::kReadTool, "kalloctl", "doctor", "-d", "null", "-f", server::kRegistryFile},
         "null",
         kFirmware},
        {server::kWriteTool, {}, "", kFirmware},
        {server::kEnvironmentTool, {}, "", kFirmware},
        {server::kWindowTool, {}, "", "install wmctrl, or no windows are listed", Verdict::warning},
        {"/usr/bin/xprop", {}, "", "install x11-utils, or no window is active", Verdict::warning},
        {"/bin/ps", {"/bin/ps", "aux"}, "PID", "install procps"},
        {"/usr/bin/md5sum", {"/usr/bin/md5sum", "/dev/null"}, "d41d8cd9", kCoreutils},
        {"/usr/bin/awk", {"/usr/bin/awk", "BEGIN { print 42 }"}, "42", "install mawk or gawk"},
        {"/bin/echo", {"/bin/echo", "abc"}, "abc", kCoreutils},
        {"/usr/bin/base64", {"/bin/echo", "YWJj", "|", "/usr/bin/base64", "-d"}, "abc", kCoreutils},
        {"grep", {"/bin/echo", "abc", "|", "grep", "b"}, "abc", "install grep, within PATH"},
        {"cat", {"/bin/echo", "abc", "|", "cat"}, "abc", kCoreutils},
        {"/bin/sh", {}, "", "install dash, or no package starts"},
    };
}

Finding examine(const Tool& tool) {
    if (*tool.path == '/' && access(tool.path, X_OK) != 0) {
        return {tool.path, tool.verdict, "is no program", tool.remedy};
    }
    if (tool.words.empty()) {
        return {tool.path, Verdict::ok, "is there"};
    }
    if (outputOf(tool.words).find(tool.answer) == std::string::npos) {
        return {tool.path, tool.verdict, "does not answer as expected", tool.remedy};
    }
    return {tool.path, Verdict::ok, "answers"};
}

}  // namespace

std::string outputOf(std::vector<std::string> words) {
    constexpr size_t kLimit = 65536;
    words.insert(words.begin(), {"/usr/bin/timeout", "5"});
    return support::readCommandOutput(std::move(words), kLimit).value_or("");
}

Findings checkTools(const Arguments& /*arguments*/) {
    Findings findings;
    for (const Tool& tool : tools()) {
        findings.push_back(examine(tool));
    }
    return findings;
}

}  // namespace client::doctor
