#include "socketcpp/TcpSocket.h"

#include <arpa/inet.h>
#include <unistd.h>

#include <cassert>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <new>

namespace corex {

TcpSocket::TcpSocket(int socket, int family) noexcept : m_socket(socket), m_family(family) {}

TcpSocket::~TcpSocket() {
    if (m_socket != -1) {
        close(m_socket);
    }
}

TcpSocket* TcpSocket::CreateSocket(int domain, bool nonblock) {
    const int type = SOCK_STREAM | SOCK_CLOEXEC | (nonblock ? SOCK_NONBLOCK : 0);
    const int socket = ::socket(domain, type, 0);
    if (socket < 0) {
        return nullptr;
    }
    const int enabled = 1;
    if (setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &enabled, sizeof enabled) < 0) {
        printf("[%s][%s][%d] setsockopt() ... fail\n", "TcpSocket",
               "static corex::TcpSocket* corex::TcpSocket::CreateSocket(int, bool)", __LINE__);
    }
    return adopt_(socket, domain);
}

TcpSocket* TcpSocket::adopt_(int socket, int family) {
    auto* adopted = new (std::nothrow) TcpSocket(socket, family);
    if (adopted == nullptr) {
        close(socket);
        errno = ENOMEM;
    }
    return adopted;
}

int TcpSocket::GetSocket() {
    return m_socket;
}

void TcpSocket::Close() {
    if (m_socket != -1) {
        close(m_socket);
        m_socket = -1;
    }
}

/// Without an `address` the socket stands on every local one.
bool TcpSocket::setLocalAddress_(const char* address, int port) {
    m_localAddress = {};
    m_localAddress.sin_family = static_cast<sa_family_t>(m_family);
    m_localAddress.sin_port = htons(static_cast<uint16_t>(port));
    if (m_family == AF_INET && address != nullptr &&
        inet_aton(address, &m_localAddress.sin_addr) == 0) {
        errno = EINVAL;
        return false;
    }
    return true;
}

int TcpSocket::Bind(int port) {
    assert(m_socket != -1);
    setLocalAddress_(nullptr, port);
    const auto* address = reinterpret_cast<const sockaddr*>(&m_localAddress);
    return bind(m_socket, address, sizeof m_localAddress) < 0 ? -1 : 0;
}

int TcpSocket::Bind(const std::string& address, int port) {
    assert(m_socket != -1);
    if (!setLocalAddress_(address.c_str(), port)) {
        return -1;
    }
    const auto* local = reinterpret_cast<const sockaddr*>(&m_localAddress);
    return bind(m_socket, local, sizeof m_localAddress) < 0 ? -1 : 0;
}

int TcpSocket::Listen(int backlog) {
    assert(m_socket != -1);
    return listen(m_socket, backlog);
}

Socket* TcpSocket::Accept() {
    assert(m_socket != -1);
    // With a length of 0 the kernel stores no address (accept(2)): no connection carries its
    // peer's, and whoever needs it asks getpeername(2).
    socklen_t length = 0;
    // Close-on-exec from the first moment: a program that another thread starts just now must not
    // keep the client's connection open.
    const int connection = accept4(m_socket, &m_peerAddress, &length, SOCK_CLOEXEC);
    return connection < 0 ? nullptr : adopt_(connection, m_family);
}

int TcpSocket::Connect(const std::string& address, int port) {
    assert(m_socket != -1);
    if (!setLocalAddress_(address.c_str(), port)) {
        return -1;
    }
    const auto* peer = reinterpret_cast<const sockaddr*>(&m_localAddress);
    return connect(m_socket, peer, sizeof m_localAddress) < 0 ? -1 : 0;
}

ssize_t TcpSocket::Read(void* buf, size_t len) {
    assert(buf);
    return read(m_socket, buf, len);
}

// write(2) in all but the signal: a client that hung up must not end the agent, and SIGPIPE keeps
// its disposition, because started packages inherit it.
ssize_t TcpSocket::Write(const void* buf, size_t len) {
    assert(buf);
    return send(m_socket, buf, len, MSG_NOSIGNAL);
}

ssize_t TcpSocket::Write(const std::string& data) {
    assert(m_socket != -1);
    return data.empty() ? -1 : Write(data.data(), data.size());
}

}  // namespace corex
