// TCP (and any other network) stream socket: the agent's listener for client apps and each of
// its accepted connections.
#pragma once

#include <netinet/in.h>

#include "socketcpp/Socket.h"

namespace corex {

/// See corex::Socket for ownership, results and threads. Every operation but GetSocket, Close,
/// Read and Write(buf, len) asserts that the socket is open.
class TcpSocket final : public Socket {
  public:
    /// Takes over the descriptor `socket` of address family `family`.
    TcpSocket(int socket, int family) noexcept;
    ~TcpSocket() override;

    /// Makes a close-on-exec stream socket of the family `domain` (AF_INET is the one whose
    /// addresses are parsed) with SO_REUSEADDR set. Returns it, owned by the caller, or null.
    static TcpSocket* CreateSocket(int domain, bool nonblock);

    using Socket::Connect;

    int GetSocket() override;
    void Close() override;
    int Bind(int port) override;
    /// `address` is an IPv4 address as inet_aton(3) reads it; one that it cannot read returns -1
    /// (EINVAL) without binding. Other families ignore it.
    int Bind(const std::string& address, int port) override;
    int Listen(int backlog) override;
    Socket* Accept() override;
    int Connect(const std::string& address, int port) override;
    ssize_t Read(void* buf, size_t len) override;
    ssize_t Write(const void* buf, size_t len) override;
    ssize_t Write(const std::string& data) override;

  private:
    static TcpSocket* adopt_(int socket, int family);
    bool setLocalAddress_(const char* address, int port);

    sockaddr_in m_localAddress{};  ///< filled by Bind, and by Connect with the peer's address
    sockaddr m_peerAddress{};      ///< stays zero, see Accept
    int m_socket;
    int m_family;
};

}  // namespace corex
