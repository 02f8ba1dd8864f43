// Unix-domain stream socket (unix(7)): the local channel's listener and its connections.
#pragma once

#include "socketcpp/Socket.h"

namespace corex {

/// See corex::Socket for ownership, results and threads. An address is a file-system path, or an
/// abstract name when the flag beside it is 1; it must not be empty, and what goes beyond 106
/// bytes is cut off silently.
class UnixSocket final : public Socket {
  public:
    /// Takes over the descriptor `socket`, made with the type word `type`.
    UnixSocket(int socket, int type) noexcept;
    ~UnixSocket() override;

    /// Makes a close-on-exec Unix socket of `type` (SOCK_STREAM, SOCK_DGRAM, ...). Returns it,
    /// owned by the caller, or null.
    static UnixSocket* CreateSocket(int type, bool nonblock);

    using Socket::Bind;
    using Socket::Connect;
    using Socket::SendTo;

    int GetSocket() override;
    void Close() override;
    /// Removes whatever file stands at the path first, so that the socket file of an earlier run
    /// never blocks a start; a directory stays, and the call fails.
    int Bind(const std::string& address, int abstract) override;
    int Listen(int backlog) override;
    Socket* Accept() override;
    int Connect(const std::string& address, int abstract) override;
    ssize_t Read(void* buf, size_t len) override;
    ssize_t Write(const void* buf, size_t len) override;
    ssize_t Write(const std::string& data) override;
    /// Reaches the address without its last two bytes: the kernel counts the family field into
    /// the length that it is given. `flags` are not passed on.
    ssize_t SendTo(const std::string& data, const std::string& address, int abstract,
                   int flags) override;
    ssize_t Recv(void* buf, size_t len, int flags) override;

  private:
    static UnixSocket* adopt_(int socket, int type);

    int m_socket;
    int m_type;  ///< as passed to socket(2), SOCK_CLOEXEC and SOCK_NONBLOCK included
};

}  // namespace corex
