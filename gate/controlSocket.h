// Answers the gate's own commands at a socket in its run directory: its state, and the paired
// phones. A command is one line of JSON, and so is its answer.
#pragma once

#include <boost/asio/io_context.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <functional>
#include <string>
#include <string_view>

#include "gate/appConversation.h"
#include "gate/web/devices.h"
#include "gate/web/pairingCodes.h"

namespace gate {

inline constexpr const char* kControlSocket = "/run/kallogate/control";

/// What the commands for phones work on; it outlives the socket.
struct Pairing {
    Devices& devices;
    PairingCodes& codes;
    /// The address that a phone opens to be paired by `code`. Throws std::runtime_error, whose text
    /// is the answer, when there is none.
    std::function<std::string(const std::string& code)> address;
};

/// Belongs to the thread of its io_context.
///
/// Commands and their answers; one that fails is answered `{"error":"REASON"}`:
///
///     {"command":"status"}                the figures, by name
///     {"command":"pair","name":"tablet"}  {"address":"https://...","code":"AB12CD34",
///                                          "expires_seconds":300}; "name" may lack
///     {"command":"devices"}               {"devices":[{"id":"3fa2c1","name":"tablet",
///                                          "paired":"2026-11-23T18:00:00Z",
///                                          "seen":"2026-11-24"}]}; times in UTC
///     {"command":"revoke","id":"3fa2c1"}  {}
class ControlSocket final {
  public:
    /// `path`: of the socket, made anew, for the gate's own user and root; where it cannot be made
    /// the gate goes on without.
    ControlSocket(boost::asio::io_context& context, const std::string& path, const Door& door,
                  Pairing pairing);
    void start();

  private:
    using Socket = boost::asio::local::stream_protocol::socket;

    boost::asio::awaitable<void> serve_(Socket socket);
    std::string answer_(std::string_view line);

    boost::asio::io_context& m_context;
    boost::asio::local::stream_protocol::acceptor m_acceptor;
    const Door& m_door;
    Pairing m_pairing;
};

}  // namespace gate
