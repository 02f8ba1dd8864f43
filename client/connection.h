// Ways to the agent: its TCP port and its local channel. The commands open one for each request.
#pragma once

#include <memory>
#include <string>

#include "client/arguments.h"
#include "socketcpp/Socket.h"

namespace client {

/// A connected socket; or none, and why.
struct Connection {
    std::unique_ptr<corex::Socket> socket;
    std::string error{};
};

/// Connects to the agent's TCP port as the command line says, trying each IPv4 address of the host
/// in turn (getaddrinfo(3)), or the IPv6 address that is written out in its place. The command
/// line's time limit bounds each attempt and, afterwards, each read and write.
Connection connectAgent(const Arguments& arguments);

/// The same for the agent's local channel, a Unix-domain socket (unix(7)) on the same machine.
Connection connectLocalChannel(const Arguments& arguments);

}  // namespace client
