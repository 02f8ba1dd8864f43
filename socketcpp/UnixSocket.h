// Unix-domain stream socket (unix(7)): the local channel's listener and its connections.
#pragma once

#include "socketcpp/Socket.h"

namespace corex {

class UnixSocket final : public Socket {
  public:
    UnixSocket(int socket, int type);
    static UnixSocket* CreateSocket(int type, bool nonblock);
};

}  // namespace corex
