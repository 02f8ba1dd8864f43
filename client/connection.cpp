#include "client/connection.h"

#include <netdb.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <cerrno>
#include <chrono>
#include <cstring>
#include <utility>

#include "socketcpp/TcpSocket.h"
#include "socketcpp/UnixSocket.h"
#include "support/protocol.h"

namespace client {
namespace {

// The timeout for sending bounds connect(2) as well, see socket(7).
bool setTimeout(corex::Socket& socket, std::chrono::milliseconds timeout) {
    const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(timeout);
    const timeval value = {static_cast<time_t>(microseconds.count() / 1000000),
                           static_cast<suseconds_t>(microseconds.count() % 1000000)};
    return setsockopt(socket.GetSocket(), SOL_SOCKET, SO_SNDTIMEO, &value, sizeof value) == 0 &&
           setsockopt(socket.GetSocket(), SOL_SOCKET, SO_RCVTIMEO, &value, sizeof value) == 0;
}

std::string reasonOf(int code) {
    const bool timedOut = code == EINPROGRESS || code == EAGAIN;
    return timedOut ? "no connection within the timeout" : strerror(code);
}

Connection connectAddress(const addrinfo& address, std::chrono::milliseconds timeout) {
    std::unique_ptr<corex::Socket> socket(corex::TcpSocket::CreateSocket(address.ai_family, false));
    if (socket == nullptr || !setTimeout(*socket, timeout) ||
        connect(socket->GetSocket(), address.ai_addr, address.ai_addrlen) != 0) {
        return {nullptr, reasonOf(errno)};
    }
    return {std::move(socket)};
}

// The agent listens on IPv4 alone, so a name is looked up for that only: on the IPv6 addresses of
// its server any local user may listen on the same port, for a password. An address that is written
// out is the user's own choice.
int familyOf(const std::string& host) {
    return host.find(':') == std::string::npos ? AF_INET : AF_INET6;
}

}  // namespace

Connection connectAgent(const Arguments& arguments) {
    const std::string port = std::to_string(arguments.port);
    const std::string where = arguments.host + " port " + port;
    addrinfo hints{};
    hints.ai_family = familyOf(arguments.host);
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV | (hints.ai_family == AF_INET6 ? AI_NUMERICHOST : 0);
    addrinfo* addresses = nullptr;
    const int code = getaddrinfo(arguments.host.c_str(), port.c_str(), &hints, &addresses);
    if (code != 0) {
        const char* const what = hints.ai_family == AF_INET ? ": no IPv4 address: " : ": ";
        return {nullptr, where + what + gai_strerror(code)};
    }
    Connection connection;
    for (const addrinfo* each = addresses; each != nullptr && !connection.socket;
         each = each->ai_next) {
        connection = connectAddress(*each, millisecondsOf(arguments.timeoutSeconds));
    }
    freeaddrinfo(addresses);
    if (!connection.socket) {
        connection.error = where + ": " + connection.error;
    }
    return connection;
}

Connection connectLocalChannel(const Arguments& arguments) {
    constexpr int kFileSystemName = 0;
    std::unique_ptr<corex::Socket> socket(corex::UnixSocket::CreateSocket(SOCK_STREAM, false));
    if (socket == nullptr || !setTimeout(*socket, millisecondsOf(arguments.timeoutSeconds)) ||
        socket->Connect(protocol::kChannelPath, kFileSystemName) != 0) {
        return {nullptr, std::string(protocol::kChannelPath) + ": " + reasonOf(errno)};
    }
    return {std::move(socket)};
}

}  // namespace client
