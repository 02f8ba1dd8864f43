// The agent itself: its process, its sockets and its pipe.
#include <sys/stat.h>
#include <unistd.h>

#include <charconv>

#include "client/ask.h"
#include "client/connection.h"
#include "client/doctor/check.h"
#include "companion/request.h"
#include "support/protocol.h"
#include "support/serverPaths.h"
#include "support/wholeFile.h"

namespace client::doctor {
namespace {

constexpr const char* kStart = "systemctl restart kalloagent";
constexpr const char* kProgram = "kalloagent";

Finding examineProcess() {
    const int pid = agentProcess();
    if (pid != 0) {
        return {server::kPidFile, Verdict::ok, "process " + std::to_string(pid) + " runs"};
    }
    return {server::kPidFile, Verdict::failed,
            access(server::kPidFile, F_OK) == 0 ? "no agent has the number in it"
                                                : "is missing: no agent",
            kStart};
}

// A command that changes nothing: any answer will do, a refusal, too.
Finding examineAnswer(const std::string& what, Connection connection) {
    const Answer answer =
        askDocument(std::move(connection), companion::requestText(protocol::kGetKalloSetting));
    if (answer.reply == Reply::answered) {
        return {what, Verdict::ok, "the agent answers"};
    }
    return {what, Verdict::failed, answer.error,
            std::string("see who is connected (ss -tnp), then ") + kStart};
}

Finding examineKind(const char* path, mode_t kind, const char* name) {
    struct stat status {};
    if (lstat(path, &status) != 0 || (status.st_mode & S_IFMT) != kind) {
        return {path, Verdict::failed, std::string("is no ") + name,
                std::string("remove what is there, then ") + kStart};
    }
    if ((status.st_mode & 0077U) != 0) {
        return {path, Verdict::warning, "is open to other users",
                "start the agent with UMask=0077 or stricter"};
    }
    return {path, Verdict::ok, std::string("is a ") + name + " for root alone"};
}

}  // namespace

int agentProcess() {
    const std::string number = support::readWholeFile(server::kPidFile, 16).value_or("");
    int pid = 0;
    std::from_chars(number.data(), number.data() + number.size(), pid);
    const std::string line =
        support::readWholeFile("/proc/" + std::to_string(pid) + "/cmdline").value_or("");
    return pid > 0 && line.find(kProgram) != std::string::npos ? pid : 0;
}

Findings checkAgent(const Arguments& arguments) {
    Findings findings = {examineProcess(), examineKind(protocol::kChannelPath, S_IFSOCK, "socket"),
                         examineKind(server::kServicePipe, S_IFIFO, "pipe")};
    if (findings.front().verdict == Verdict::ok) {
        findings.push_back(
            examineAnswer("port " + std::to_string(arguments.port), connectAgent(arguments)));
        findings.push_back(examineAnswer("local channel", connectLocalChannel(arguments)));
    }
    return findings;
}

}  // namespace client::doctor
