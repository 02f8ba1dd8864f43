#include "client/connection.h"

#include <netdb.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <cerrno>
#include <cstring>

#include "socketcpp/TcpSocket.h"
#include "socketcpp/UnixSocket.h"

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

std::unique_ptr<corex::Socket> connectAddress(const addrinfo& address,
                                              std::chrono::milliseconds timeout) {
    std::unique_ptr<corex::Socket> socket(corex::TcpSocket::CreateSocket(address.ai_family, false));
    if (socket == nullptr || !setTimeout(*socket, timeout) ||
        connect(socket->GetSocket(), address.ai_addr, address.ai_addrlen) != 0) {
        return nullptr;
    }
    return socket;
}

}  // namespace

std::unique_ptr<corex::Socket> connectTcp(const std::string& host, int port,
                                          std::chrono::milliseconds timeout, std::string& error) {
    addrinfo hints = {};
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = AI_NUMERICSERV;
    addrinfo* addresses = nullptr;
    const std::string where = host + " port " + std::to_string(port);
    const int code = getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &addresses);
    if (code != 0) {
        error = where + ": " + gai_strerror(code);
        return nullptr;
    }
    std::unique_ptr<corex::Socket> socket;
    for (const addrinfo* each = addresses; each != nullptr && !socket; each = each->ai_next) {
        socket = connectAddress(*each, timeout);
        if (!socket) {
            error = where + ": " + reasonOf(errno);
        }
    }
    freeaddrinfo(addresses);
    return socket;
}

std::unique_ptr<corex::Socket> connectLocal(const std::string& path,
                                            std::chrono::milliseconds timeout, std::string& error) {
    std::unique_ptr<corex::Socket> socket(corex::UnixSocket::CreateSocket(SOCK_STREAM, false));
    constexpr int fileSystemName = 0;
    if (socket == nullptr || !setTimeout(*socket, timeout) ||
        socket->Connect(path, fileSystemName) != 0) {
        error = path + ": " + reasonOf(errno);
        return nullptr;
    }
    return socket;
}

std::unique_ptr<corex::Socket> connectAgent(const arguments_t& arguments, std::string& error) {
    return connectTcp(arguments.host, arguments.port, millisecondsOf(arguments.timeoutSeconds),
                      error);
}

}  // namespace client
