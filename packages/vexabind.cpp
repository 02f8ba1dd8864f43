#include "packages/vexabind.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <cerrno>
#include <cstdio>
#include <system_error>
#include <utility>

#include "support/commandOutput.h"
#include "support/configTool.h"
#include "support/handles.h"
#include "support/logLine.h"
#include "support/process/descriptors.h"
#include "support/serverPaths.h"

namespace {

using support::Colour;
using support::logLine;

constexpr support::LogSource here(const char* function, int line = __builtin_LINE()) {
    return {"vexabind", line, function};
}

constexpr const char* kInInit = "int VexaBind::init()";
constexpr const char* kInThreadBody = "void VexaBind::threadBody()";

constexpr size_t kReadSize = 4095;        // of one read from the pipe
constexpr size_t kDirectoryLimit = 4094;  // of what the registry tool prints
constexpr std::string_view kVirtualMachine = "ZelvKVM.";

struct RunControl {
    const char* action;
    const char* script;  // below the installation directory
    const char* name;
};
constexpr RunControl kRunControls[] = {
    {"start", "/etc/init.d/rcS", "rcS"},
    {"stop", "/etc/init.d/rcK", "rcK"},
};

/// Where the package is installed, empty when the registry does not know it.
std::string installDirectory(const std::string& vexaName) {
    std::string directory =
        support::readCommandOutput(installPathCommand(vexaName), kDirectoryLimit).value_or("");
    directory.erase(std::min(directory.find('\0'), directory.size()));
    if (directory.ends_with('\n')) {
        directory.pop_back();
    }
    return directory;
}

/// Becomes the package's script for the request, if there is one. Until then it waits for the
/// registry tool, and must not keep the agent's listeners and its client open meanwhile.
[[noreturn]] void runScript(const ServiceRequest& request) {
    support::closeOtherDescriptors();
    const std::string directory = installDirectory(request.vexaName);
    // Without a directory the script would be one of the server itself.
    if (!directory.empty()) {
        for (const RunControl& control : kRunControls) {
            if (request.action == control.action) {
                const std::string script = directory + control.script;
                logLine(Colour::none, here(kInThreadBody), "[%s] %s\n", control.action,
                        script.c_str());
                execl(script.c_str(), control.name, static_cast<char*>(nullptr));
            }
        }
    }
    _exit(0);
}

void logForkFailure() {
    logLine(Colour::none, here(kInThreadBody), "fork() fail!\n");
}

/// The child's life: to leave the script behind without a parent that would have to wait for it.
[[noreturn]] void detachScript(const ServiceRequest& request) {
    const pid_t grandchild = fork();
    if (grandchild == 0) {
        runScript(request);
    }
    if (grandchild == -1) {
        logForkFailure();
    }
    _exit(0);
}

}  // namespace

std::deque<ServiceRequest> parseServiceRequests(std::string_view text) {
    text = text.substr(0, text.find('\0'));
    std::deque<ServiceRequest> requests;
    std::string name;
    while (!text.empty()) {
        const std::string_view word = text.substr(0, text.find_first_of(" \n"));
        text.remove_prefix(std::min(word.size() + 1, text.size()));
        if (word.empty()) {
            continue;
        }
        if (name.empty()) {
            name = word;
        } else {
            requests.push_back({std::exchange(name, {}), std::string(word)});
        }
    }
    return requests;
}

std::vector<std::string> installPathCommand(const std::string& vexaName) {
    const bool isVirtualMachine = vexaName.find(kVirtualMachine) != std::string::npos;
    const std::string section = isVirtualMachine ? "ZelvKVM" : vexaName;
    const std::string key =
        isVirtualMachine ? vexaName.substr(kVirtualMachine.size()) : "Install_Path";
    return support::configReadWords(section, key, nullptr, server::kRegistryFile);
}

VexaBind::VexaBind(const std::string& path) : m_path(path) {}

VexaBind::~VexaBind() {
    close_fd_reset(&m_fifoFd);
}

int VexaBind::init() {
    logLine(Colour::none, here(kInInit), "fifo path: %s\n", m_path.c_str());
    remove(m_path.c_str());
    if (mkfifo(m_path.c_str(), S_IRUSR | S_IWUSR) == -1) {
        logLine(Colour::none, here(kInInit), "mkfifo fail!\n");
        return -1;
    }
    // For writing, too: the pipe then never ends when its writers come and go.
    m_fifoFd = open(m_path.c_str(), O_RDWR | O_CLOEXEC);
    if (m_fifoFd == -1) {
        logLine(Colour::none, here(kInInit), "open fifo(%s) fail!\n", m_path.c_str());
        return -1;
    }
    return 0;
}

int VexaBind::start() {
    try {
        m_thread = std::thread(&VexaBind::threadBody, this);
    } catch (const std::system_error&) {
        return -1;
    }
    return 0;
}

void VexaBind::stop() {
    if (!m_thread.joinable()) {
        return;
    }
    m_stopRequest = 1;
    // The reader looks at the request only after a read has returned.
    [[maybe_unused]] const ssize_t written = write(m_fifoFd, "\n", 1);
    m_thread.join();
}

void VexaBind::threadBody() {
    assert(m_fifoFd != -1);
    do {
        std::array<char, kReadSize> text;
        const ssize_t length = read(m_fifoFd, text.data(), text.size());
        if (length < 1) {
            continue;
        }
        m_requests = parseServiceRequests({text.data(), static_cast<size_t>(length)});
        while (!m_requests.empty()) {
            const ServiceRequest request = std::move(m_requests.front());
            m_requests.pop_front();
            serve_(request);
        }
    } while (m_stopRequest == 0);
}

void VexaBind::serve_(const ServiceRequest& request) const {
    const pid_t child = fork();
    if (child == 0) {
        detachScript(request);
    }
    if (child == -1) {
        logForkFailure();
    } else {
        while (waitpid(child, nullptr, 0) == -1 && errno == EINTR) {
        }
    }
    logLine(Colour::none, here(kInThreadBody), "vexaName:%s   action:%s\n",
            request.vexaName.c_str(), request.action.c_str());
}
