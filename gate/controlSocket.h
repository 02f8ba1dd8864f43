// Tells the state of the gate to whoever connects to a socket in its run directory.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <string>

#include "gate/appConversation.h"

namespace gate {

inline constexpr const char* kControlSocket = "/run/kallogate/control";

/// Belongs to the thread of its io_context.
class ControlSocket final {
  public:
    /// `path`: of the socket, made anew; where it cannot be made the gate goes on without.
    ControlSocket(boost::asio::io_context& context, const std::string& path, const Door& door);
    void start();

  private:
    boost::asio::awaitable<void> accept_();

    boost::asio::io_context& m_context;
    boost::asio::local::stream_protocol::acceptor m_acceptor;
    const Door& m_door;
};

/// Asks the gate at the socket `path` and writes its state to standard output, as JSON or as a
/// table. Returns the exit status of the process: 1, with a line on standard error, when no gate
/// answers.
int printStatus(const std::string& path, bool asJson);

}  // namespace gate
