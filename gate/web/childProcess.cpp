#include "gate/web/childProcess.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <system_error>

#include "support/handles.h"

namespace gate {
namespace {

[[noreturn]] void runAndLeave(const std::function<void()>& work, int report) {
    int status = 0;
    try {
        work();
    } catch (const std::exception& error) {
        const std::string fault = error.what();
        status = write(report, fault.data(), fault.size()) < 0 ? 2 : 1;
    }
    _exit(status);  // what the parent has registered for its own end is not the child's
}

}  // namespace

std::string faultInChild(const std::function<void()>& work) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe");
    }
    const support::Descriptor reading(ends[0]);
    support::Descriptor writing(ends[1]);
    const pid_t child = fork();
    if (child < 0) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
    if (child == 0) {
        runAndLeave(work, writing.get());
    }
    writing.reset();
    std::string fault;
    std::array<char, 512> buffer{};
    for (ssize_t count = 0; (count = read(reading.get(), buffer.data(), buffer.size())) > 0;) {
        fault.append(buffer.data(), static_cast<size_t>(count));
    }
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    const bool isWell = WIFEXITED(status) && WEXITSTATUS(status) == 0;
    return fault.empty() && !isWell ? "a child process ended unexpectedly" : fault;
}

}  // namespace gate
