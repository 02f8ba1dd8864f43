#include "socketcpp/UnixSocket.h"

#include <sys/un.h>
#include <unistd.h>

#include <algorithm>
#include <cassert>
#include <cerrno>
#include <new>

namespace corex {
namespace {

constexpr int kAbstractName = 1;

/// What fits between the leading NUL byte of an abstract name and a closing one.
constexpr size_t kLongestPath = 106;
static_assert(kLongestPath + 2 == sizeof(sockaddr_un::sun_path));

std::string cutPath(const std::string& address) {
    return address.substr(0, kLongestPath);
}

sockaddr_un addressOf(const std::string& path, int abstract) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    char* place = abstract == kAbstractName ? address.sun_path + 1 : address.sun_path;
    std::copy(path.begin(), path.end(), place);
    return address;
}

const sockaddr* generic(const sockaddr_un& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}

}  // namespace

UnixSocket::UnixSocket(int socket, int type) noexcept : m_socket(socket), m_type(type) {}

UnixSocket::~UnixSocket() {
    if (m_socket != -1) {
        close(m_socket);
    }
}

UnixSocket* UnixSocket::CreateSocket(int type, bool nonblock) {
    const int typeWord = type | SOCK_CLOEXEC | (nonblock ? SOCK_NONBLOCK : 0);
    const int socket = ::socket(AF_UNIX, typeWord, 0);
    return socket < 0 ? nullptr : adopt_(socket, typeWord);
}

UnixSocket* UnixSocket::adopt_(int socket, int type) {
    auto* adopted = new (std::nothrow) UnixSocket(socket, type);
    if (adopted == nullptr) {
        close(socket);
        errno = ENOMEM;
    }
    return adopted;
}

int UnixSocket::GetSocket() {
    return m_socket;
}

void UnixSocket::Close() {
    if (m_socket != -1) {
        close(m_socket);
        m_socket = -1;
    }
}

int UnixSocket::Bind(const std::string& address, int abstract) {
    assert(address.size() > 0);  // NOLINT(readability-container-size-empty): its text is searched
    const std::string path = cutPath(address);
    if (abstract != kAbstractName) {
        unlink(path.c_str());
    }
    // The whole structure is the name of an abstract socket, trailing NUL bytes included; a
    // client has to connect with the same length.
    const sockaddr_un local = addressOf(path, abstract);
    return bind(m_socket, generic(local), sizeof local);
}

int UnixSocket::Listen(int backlog) {
    return listen(m_socket, backlog);
}

Socket* UnixSocket::Accept() {
    // Close-on-exec from the first moment, as for TcpSocket.
    const int connection = accept4(m_socket, nullptr, nullptr, SOCK_CLOEXEC);
    return connection == -1 ? nullptr : adopt_(connection, m_type);
}

int UnixSocket::Connect(const std::string& address, int abstract) {
    assert(address.size() > 0);  // NOLINT(readability-container-size-empty)
    const sockaddr_un peer = addressOf(cutPath(address), abstract);
    return connect(m_socket, generic(peer), sizeof peer) < 0 ? -1 : 0;
}

ssize_t UnixSocket::Read(void* buf, size_t len) {
    assert(buf);
    return read(m_socket, buf, len);
}

// write(2) in all but the signal: see TcpSocket.
ssize_t UnixSocket::Write(const void* buf, size_t len) {
    assert(buf);
    return send(m_socket, buf, len, MSG_NOSIGNAL);
}

ssize_t UnixSocket::Write(const std::string& data) {
    return data.empty() ? -1 : Write(data.data(), data.size());
}

ssize_t UnixSocket::SendTo(const std::string& data, const std::string& address, int abstract,
                           int /*flags*/) {
    assert(address.size() > 0);  // NOLINT(readability-container-size-empty)
    const std::string path = cutPath(address);
    const sockaddr_un peer = addressOf(path, abstract);
    // The length of the path alone: receivers are bound to the name that the kernel makes of it.
    const auto length = static_cast<socklen_t>(path.size());
    return sendto(m_socket, data.data(), data.size(), 0, generic(peer), length);
}

ssize_t UnixSocket::Recv(void* buf, size_t len, int flags) {
    return recv(m_socket, buf, len, flags);
}

}  // namespace corex
