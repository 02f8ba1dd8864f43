#include "agent/kalloagent.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/epoll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <span>
#include <thread>

#include "agent/logSources.h"
#include "agent/settings.h"
#include "socketcpp/TcpSocket.h"
#include "socketcpp/UnixSocket.h"
#include "support/confParser.h"
#include "support/handles.h"
#include "support/protocol.h"
#include "support/serverPaths.h"

using logSources::here;
using support::Colour;
using support::logLine;

namespace {

using protocol::kChannelPath;
using protocol::kPort;

constexpr int kFileSystemName = -1;
constexpr int kBacklog = 1;
constexpr int kEventBatch = 100;
constexpr std::chrono::milliseconds kAcceptPause{100};

constexpr const char* kInitialize = "int CKalloAgent::initialize()";
constexpr const char* kExec = "int CKalloAgent::exec()";

/// While it lives, an allocation that fails anywhere in the process says so and aborts.
class NewFailureReport {
  public:
    NewFailureReport() : m_before(std::set_new_handler(&report_)) {}
    NewFailureReport(const NewFailureReport&) = delete;
    NewFailureReport& operator=(const NewFailureReport&) = delete;
    ~NewFailureReport() { std::set_new_handler(m_before); }

  private:
    [[noreturn]] static void report_() {
        // No memory is left to build a line from.
        fprintf(stderr, "\033[1;31m[File:%s][Line:%d][Func:%s]: new() fail\n\033[m", "kalloagent",
                __LINE__, "CKalloAgent::CKalloAgent()");
        abort();
    }

    std::new_handler m_before;
};

bool watchForClients(int epollFd, int listener) {
    epoll_event event{};
    event.events = EPOLLIN;
    event.data.fd = listener;
    return epoll_ctl(epollFd, EPOLL_CTL_ADD, listener, &event) == 0;
}

bool hasClient(std::span<const epoll_event> events, int listener) {
    return std::ranges::any_of(events, [listener](const epoll_event& event) {
        return event.data.fd == listener && (event.events & EPOLLIN) != 0;
    });
}

/// Logs an accept that failed; the line names the TCP listener for both. Without a descriptor or
/// memory to spare the client stays in the queue, and its listener stays ready. The loop then rests
/// a moment, or it would fill the log until something is freed.
void reportFailedAccept(int line = __builtin_LINE()) {
    const int reason = errno;
    logLine(Colour::error, here(kExec, line), "(%s) m_tcpPtr ... fail\n", strerror(reason));
    if (reason == EMFILE || reason == ENFILE || reason == ENOBUFS || reason == ENOMEM) {
        std::this_thread::sleep_for(kAcceptPause);
    }
}

/// One option of an accepted connection, and what is logged when it cannot be set.
struct ConnectionOption {
    int level;
    int name;
    int value;
    const char* failure;
};

// An idle peer that is gone is noticed within some eight seconds. The three intervals share one
// text.
constexpr ConnectionOption kKeepAlive[] = {
    {SOL_SOCKET, SO_KEEPALIVE, 1, "set SO_KEEPALIVE fail\n"},
    {IPPROTO_TCP, TCP_KEEPIDLE, 5, "set TCP_KEEPINTVL fail\n"},
    {IPPROTO_TCP, TCP_KEEPINTVL, 1, "set TCP_KEEPINTVL fail\n"},
    {IPPROTO_TCP, TCP_KEEPCNT, 3, "set TCP_KEEPINTVL fail\n"},
};
constexpr linger kLinger = {1, 1000};

}  // namespace

CKalloAgent::CKalloAgent() {
    const NewFailureReport report;
    readIdentity_();
    m_tcpPtr.reset(corex::TcpSocket::CreateSocket(AF_INET, false));
    m_unixPtr.reset(corex::UnixSocket::CreateSocket(SOCK_STREAM, false));
    m_vexaManager = std::make_unique<CVexaManager>();
    m_windowList = std::make_unique<std::vector<WindowInfo>>();
    m_aesKeys = std::make_unique<AesKeys>();
    credentialCipher::setKey(*m_aesKeys, credentialCipher::kCredentialKey.data(),
                             static_cast<int>(credentialCipher::kCredentialKey.size()));
}

void CKalloAgent::readIdentity_() {
    const struct {
        const char* file;
        struct {
            const char* section;
            const char* key;
            std::string* value;
        } keys[5];
    } sources[] = {
        {server::kRegistryFile, {{"Torvik", "Version", &m_torvikVersion}}},
        {server::kPlatformConf, {{"MISC", "DISPLAY_NAME", &m_displayName}}},
        {server::kServerConf,
         {{"System", "Model", &m_model},
          {"System", "Internal Model", &m_internalModel},
          {"System", "Version", &m_ruxVersion},
          {"System", "Build Number", &m_ruxBuild},
          {"System", "Number", &m_ruxNumber}}},
    };
    for (const auto& source : sources) {
        ConfParser file;
        if (file.parseFile(source.file) != 0) {
            continue;
        }
        for (const auto& key : source.keys) {
            if (key.value != nullptr) {
                *key.value = file.getValue(key.section, key.key);
            }
        }
    }
}

int CKalloAgent::initialize() {
    // The desktop works without its settings files, so their failure stops nothing.
    settings::prepare();
    if (!m_tcpPtr || m_tcpPtr->Bind(kPort) != 0) {
        logLine(Colour::error, here(kInitialize), "Tcp Socket bind at %d fail\n", kPort);
        return -1;
    }
    if (m_tcpPtr->Listen(kBacklog) != 0) {
        logLine(Colour::error, here(kInitialize), "Tcp Socket Listen at %d fail\n", kPort);
        return -1;
    }
    if (!m_unixPtr || m_unixPtr->Bind(kChannelPath, kFileSystemName) != 0) {
        logLine(Colour::error, here(kInitialize), "Unix Socket bind at %s fail\n", kChannelPath);
        return -1;
    }
    if (m_unixPtr->Listen(kBacklog) != 0) {
        // Log filters know this line by the port.
        logLine(Colour::error, here(kInitialize), "Unix Socket Listen at %d fail\n", kPort);
        return -1;
    }
    return 0;
}

int CKalloAgent::exec() {
    const support::Descriptor epoll(epoll_create1(EPOLL_CLOEXEC));
    if (!epoll) {
        logLine(Colour::error, here(kExec), "epoll_create1() ... fail\n");
        return -1;
    }
    const int tcp = m_tcpPtr->GetSocket();
    const int local = m_unixPtr->GetSocket();
    if (!watchForClients(epoll.get(), tcp) || !watchForClients(epoll.get(), local)) {
        logLine(Colour::error, here(kExec), "epollAddWatch__() ... fail\n");
        return -1;
    }
    epoll_event events[kEventBatch];
    for (;;) {
        const int count = epoll_wait(epoll.get(), events, kEventBatch, -1);
        if (count < 0) {
            const int reason = errno;
            // The line is fixed, its "%s" included.
            logLine(Colour::error, here(kExec), "epoll_wait() ...%%s fail\n");
            if (reason == EINTR) {
                continue;
            }
            return -1;
        }
        const std::span<const epoll_event> batch(events, static_cast<size_t>(std::max(count, 0)));
        // Whatever the order of the events, which goes by who was served last.
        if (hasClient(batch, tcp)) {
            acceptTcp_();
        }
        if (hasClient(batch, local)) {
            acceptUnix_();
        }
    }
}

void CKalloAgent::acceptTcp_() {
    std::unique_ptr<corex::Socket> connection(m_tcpPtr->Accept());
    if (!connection) {
        reportFailedAccept();
        return;
    }
    tcpSocketConfig_(connection->GetSocket());
    tcpProcess_(std::move(connection));
}

void CKalloAgent::acceptUnix_() {
    std::unique_ptr<corex::Socket> connection(m_unixPtr->Accept());
    if (!connection) {
        reportFailedAccept();
        return;
    }
    unixIpcProcess_(std::move(connection));
}

int CKalloAgent::tcpSocketConfig_(int fd) {
    constexpr const char* kFunction = "int CKalloAgent::tcpSocketConfig_(int)";
    int result = setsockopt(fd, SOL_SOCKET, SO_LINGER, &kLinger, sizeof kLinger);
    if (result != 0) {
        logLine(Colour::none, here(kFunction), "set SO_LINGER fail\n");
        return result;
    }
    for (const ConnectionOption& option : kKeepAlive) {
        result = setsockopt(fd, option.level, option.name, &option.value, sizeof option.value);
        if (result != 0) {
            logLine(Colour::none, here(kFunction), "%s", option.failure);
            return result;
        }
    }
    const int on = 1;
    setsockopt(fd, SOL_SOCKET, SO_REUSEPORT, &on, sizeof on);
    return 0;
}
