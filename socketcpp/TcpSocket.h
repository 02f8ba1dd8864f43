// TCP (and any other network) stream socket: the agent's listener for client apps and each of
// its accepted connections.
#pragma once

#include <netinet/in.h>

#include "socketcpp/Socket.h"

namespace corex {

class TcpSocket final : public Socket {
  public:
    TcpSocket(int socket, int family);
    static TcpSocket* CreateSocket(int domain, bool nonblock);
};

}  // namespace corex
