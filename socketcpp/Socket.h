// The face of every stream socket of the agent: listeners and accepted connections are handed
// around as std::unique_ptr<corex::Socket>. Each kind of socket implements the operations that it
// needs; the others stay here, where they say so and stop the process.
#pragma once

#include <sys/socket.h>
#include <sys/types.h>

#include <cstddef>
#include <string>

namespace corex {

class Socket {
  public:
    Socket() = default;
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    virtual ~Socket() = default;

    virtual int GetSocket() = 0;
    virtual void Close() = 0;
    virtual int Bind(int port);
    virtual int Bind(const std::string& address, int port_or_flag);
    virtual int Listen(int backlog);
    virtual Socket* Accept();
    virtual int Connect(const std::string& address);
    virtual int Connect(const std::string& address, int port_or_flag);
    virtual ssize_t Read(void* buf, size_t len);
    virtual ssize_t Write(const void* buf, size_t len);
    virtual ssize_t Write(const std::string& data);
};

}  // namespace corex
