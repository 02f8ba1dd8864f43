// The interface of every stream socket of the agent: listeners and accepted connections are handed
// around as std::unique_ptr<corex::Socket>. Each kind of socket implements the operations that it
// needs; the others stay here, where they say so and stop the process.
#pragma once

#include <sys/socket.h>
#include <sys/types.h>

#include <cassert>
#include <cstddef>
#include <cstdio>
#include <string>

namespace corex {

/// A stream socket that owns its descriptor: the destructor closes it.
///
/// Failed system calls come back as -1 (null from Accept) with errno as the call left it; nothing
/// is logged. Using a closed socket, a null buffer or an empty Unix address is a programming error
/// that an assertion stops. The order of the operations is part of the binary interface.
/// A socket is used by one thread at a time.
class Socket {
  public:
    Socket() = default;
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    virtual ~Socket() = default;

    /// The descriptor, still owned by this object; -1 once closed.
    virtual int GetSocket() = 0;

    /// Closes the descriptor; a closed socket is left as it is.
    virtual void Close() = 0;

    /// Binds to `port` (0 to 65535, host byte order; 0: the kernel picks one) on every address.
    /// Returns 0, or -1 on failure.
    virtual int Bind(int /*port*/) {
        notImplemented_("virtual int corex::Socket::Bind(int)");
        assert(false);
        return -1;
    }

    /// Binds to `address`; the second argument is the port of a network socket, or the flag of a
    /// Unix socket (1: abstract name). Returns 0, or -1 on failure.
    virtual int Bind(const std::string& /*address*/, int /*port_or_flag*/) {
        notImplemented_("virtual int corex::Socket::Bind(const string&, int)");
        assert(false);
        return -1;
    }

    /// Starts listening with a queue of `backlog` connections. Returns 0, or -1 on failure.
    virtual int Listen(int /*backlog*/) {
        notImplemented_("virtual int corex::Socket::Listen(int)");
        assert(false);
        return -1;
    }

    /// Takes the next connection, waiting for one on a blocking socket. Returns a new socket of
    /// the same kind, owned by the caller and close-on-exec, or null on failure.
    virtual Socket* Accept() {
        notImplemented_("virtual corex::Socket* corex::Socket::Accept()");
        assert(false);
        return nullptr;
    }

    virtual int Connect(const std::string& /*address*/) {
        notImplemented_("virtual int corex::Socket::Connect(const string&)");
        assert(false);
        return -1;
    }

    /// Connects to `address`, with the second argument as for Bind. Returns 0, or -1 on failure.
    virtual int Connect(const std::string& /*address*/, int /*port_or_flag*/) {
        notImplemented_("virtual int corex::Socket::Connect(const string&, int)");
        assert(false);
        return -1;
    }

    /// Reads once, at most `len` bytes into `buf`. Returns the bytes read, 0 at the end of the
    /// stream, or -1 on failure.
    virtual ssize_t Read(void* /*buf*/, size_t /*len*/) {
        notImplemented_("virtual ssize_t corex::Socket::Read(void*, size_t)");
        assert(false);
        return -1;
    }

    /// Writes once, at most `len` bytes of `buf`; the rest of a partial write is the caller's.
    /// Returns the bytes written, or -1 on failure: a peer that is gone gives EPIPE, never SIGPIPE.
    virtual ssize_t Write(const void* /*buf*/, size_t /*len*/) {
        notImplemented_("virtual ssize_t corex::Socket::Write(const void*, size_t)");
        assert(false);
        return -1;
    }

    /// Writes `data` as above. An empty string returns -1 and sends nothing.
    virtual ssize_t Write(const std::string& /*data*/) {
        notImplemented_("virtual ssize_t corex::Socket::Write(const string&)");
        assert(false);
        return -1;
    }

    virtual ssize_t Send(const void* /*buf*/, size_t /*len*/, int /*flags*/) {
        notImplemented_("virtual ssize_t corex::Socket::Send(const void*, size_t, int)");
        assert(false);
        return -1;
    }

    virtual ssize_t Send(const std::string& /*data*/, int /*flags*/) {
        notImplemented_("virtual ssize_t corex::Socket::Send(const string&, int)");
        assert(false);
        return -1;
    }

    virtual ssize_t SendTo(const void* /*buf*/, size_t /*len*/, const sockaddr* /*address*/,
                           socklen_t /*addressLength*/, int /*flags*/) {
        notImplemented_(
            "virtual ssize_t corex::Socket::SendTo(const void*, size_t, const sockaddr*, "
            "socklen_t, int)");
        assert(false);
        return -1;
    }

    virtual ssize_t SendTo(const std::string& /*data*/, const sockaddr* /*address*/,
                           socklen_t /*addressLength*/, int /*flags*/) {
        notImplemented_(
            "virtual ssize_t corex::Socket::SendTo(const string&, const sockaddr*, socklen_t, "
            "int)");
        assert(false);
        return -1;
    }

    /// Sends `data` as one message to the Unix `address` (`abstract` 1: abstract name). Returns
    /// the bytes sent, or -1 on failure.
    virtual ssize_t SendTo(const std::string& /*data*/, const std::string& /*address*/,
                           int /*abstract*/, int /*flags*/) {
        notImplemented_(
            "virtual ssize_t corex::Socket::SendTo(const string&, const string&, int, int)");
        assert(false);
        return -1;
    }

    /// Receives once, at most `len` bytes into `buf`, with the `flags` of recv(2). Returns the
    /// bytes received, 0 at the end of the stream, or -1 on failure.
    virtual ssize_t Recv(void* /*buf*/, size_t /*len*/, int /*flags*/) {
        notImplemented_("virtual ssize_t corex::Socket::Recv(void*, size_t, int)");
        assert(false);
        return -1;
    }

    virtual ssize_t Recvfrom(void* /*buf*/, size_t /*len*/, sockaddr* /*address*/,
                             socklen_t* /*addressLength*/, int /*flags*/) {
        notImplemented_(
            "virtual ssize_t corex::Socket::Recvfrom(void*, size_t, sockaddr*, socklen_t*, int)");
        assert(false);
        return -1;
    }

  private:
    /// Names the operation that this kind of socket lacks. Flushed at once, because the abort(3)
    /// that follows drops what stdio still holds.
    static void notImplemented_(const char* signature, int line = __builtin_LINE()) {
        printf("[%s][%s][%d] Not implement yet\n", "Socket.h", signature, line);
        fflush(stdout);
    }
};

}  // namespace corex
