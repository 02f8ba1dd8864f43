// Ways to the agent: its TCP port and its local channel. The commands open one for each request.
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "client/arguments.h"
#include "socketcpp/Socket.h"

namespace client {

/// The agent's Unix-domain socket (unix(7)) for programs on the same machine.
inline constexpr const char* localChannelPath = "/tmp/.kalloagent.channel";

/// Connects to `host` (a name or a numeric address, getaddrinfo(3)), trying each of its addresses
/// in turn, and `port`. `timeout` bounds each attempt and, afterwards, each read and write.
/// Returns the connected socket, owned by the caller, or null with the reason in `error`.
std::unique_ptr<corex::Socket> connectTcp(const std::string& host, int port,
                                          std::chrono::milliseconds timeout, std::string& error);

/// The same for the Unix-domain socket at `path`.
std::unique_ptr<corex::Socket> connectLocal(const std::string& path,
                                            std::chrono::milliseconds timeout, std::string& error);

/// Connects to the agent's TCP port as the command line says.
std::unique_ptr<corex::Socket> connectAgent(const arguments_t& arguments, std::string& error);

}  // namespace client
