// kalloagent: start-up in its fixed order, and nothing else.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "agent/agentLog.h"
#include "agent/crashReport.h"
#include "agent/kalloagent.h"
#include "agent/singleInstance.h"
#include "packages/vexabind.h"

namespace {

constexpr const char* kServicePipe = "/tmp/Torvik.ServicePipe";

void report(int line, const char* text) {
    support::logLine(agentLog::Colour::error, agentLog::at(line, "int main()"), "%s", text);
}

/// Puts "/dev/null" in the place of standard streams that are closed: a listener would get their
/// numbers otherwise, and with them whatever is printed.
void openStandardStreams() {
    for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
        if (fcntl(fd, F_GETFD) == -1) {
            [[maybe_unused]] const int opened = open("/dev/null", O_RDWR);
        }
    }
}

}  // namespace

int main() {
    openStandardStreams();
    // Lines are seen when they happen, and no forked child holds a copy of an unwritten one.
    setvbuf(stdout, nullptr, _IOLBF, 0);
    CKalloAgent agent;
    VexaBind serviceBinding(kServicePipe);
    if (anotherInstanceRuns()) {
        report(__LINE__, "kalloagent alread exist!!\n");
        exit(0);
    }
    const int initialized = agent.initialize();
    if (initialized != 0) {
        return -1;
    }
    installSignalHandlers();
    [[maybe_unused]] const int moved = chdir("/");
    if (serviceBinding.init() != 0 || serviceBinding.start() != 0) {
        report(__LINE__, "vexaBind init fail!!\n");
    }
    agent.exec();
    serviceBinding.stop();
    return 0;
}
