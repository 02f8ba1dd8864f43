// kalloagent: start-up in its fixed order, and nothing else.
#include <fcntl.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

#include "agent/crashReport.h"
#include "agent/kalloagent.h"
#include "agent/logSources.h"
#include "agent/pidFile.h"
#include "packages/vexabind.h"
#include "support/serverPaths.h"

namespace {

void report(const char* text, int line = __builtin_LINE()) {
    support::logLine(support::Colour::error, logSources::here("int main()", line), "%s", text);
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
    VexaBind serviceBinding(server::kServicePipe);
    if (anotherInstanceRuns()) {
        report("kalloagent alread exist!!\n");
        exit(0);
    }
    const int initialized = agent.initialize();
    if (initialized != 0) {
        return -1;
    }
    installSignalHandlers();
    [[maybe_unused]] const int moved = chdir("/");
    if (serviceBinding.init() != 0 || serviceBinding.start() != 0) {
        report("vexaBind init fail!!\n");
    }
    agent.exec();
    serviceBinding.stop();
    return 0;
}
