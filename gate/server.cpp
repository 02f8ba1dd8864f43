#include "gate/server.h"

#include <sys/resource.h>

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/ip/v6_only.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <csignal>
#include <stdexcept>
#include <unordered_set>
#ifdef KALLO_SYSTEMD
#include <systemd/sd-daemon.h>
#endif

#include "gate/appConversation.h"
#include "gate/controlSocket.h"
#include "gate/log.h"

namespace gate {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;

constexpr auto kResult = asio::as_tuple(asio::use_awaitable);
/// How long requests in work may take once the gate has been told to end.
constexpr std::chrono::seconds kEnding{10};
constexpr std::chrono::milliseconds kPauseWithoutDescriptors{100};

void tellSystemd([[maybe_unused]] const char* state) {
#ifdef KALLO_SYSTEMD
    sd_notify(0, state);
#endif
}

/// Listens on both families, or on IPv4 where the machine has no IPv6. Throws std::runtime_error
/// with a line for people when the port is not to be had.
tcp::acceptor listenOn(asio::io_context& context, uint16_t port) {
    tcp::acceptor acceptor(context);
    boost::system::error_code error;
    acceptor.open(tcp::v6(), error);
    const bool isBoth = !error;
    if (isBoth) {
        acceptor.set_option(asio::ip::v6_only(false));
    } else {
        acceptor.open(tcp::v4());
    }
    acceptor.set_option(tcp::acceptor::reuse_address(true));
    acceptor.bind(tcp::endpoint(isBoth ? tcp::v6() : tcp::v4(), port), error);
    if (!error) {
        acceptor.listen(tcp::acceptor::max_listen_connections, error);
    }
    if (error) {
        throw std::runtime_error("port " + std::to_string(port) + ": " + error.message());
    }
    return acceptor;
}

/// The connections of the moment. Its conversations may outlive everything else of the server.
using Connections = std::unordered_set<std::shared_ptr<Connection>>;

class Server final {
  public:
    Server(asio::io_context& context, const ServerOptions& options)
        : m_context(context),
          m_options(options),
          m_door(context, readSettings(options.configFile, options.mayLack)),
          m_acceptor(listenOn(context, m_door.settings.port)),
          m_signals(context, SIGTERM, SIGINT, SIGHUP),
          m_control(context, options.controlSocket, m_door) {}

    void start() {
        // Without either the gate is of no use: it ends, and its supervisor starts it anew.
        const auto fail = [](const std::exception_ptr& error) {
            if (error) {
                std::rethrow_exception(error);
            }
        };
        asio::co_spawn(m_context, accept_(), fail);
        asio::co_spawn(m_context, obey_(), fail);
        m_control.start();
        // The status tells of the agent from the start on.
        asio::co_spawn(m_context,
                       m_door.queue.refusal(asio::ip::address_v4::loopback(),
                                            protocol::kResultTexts[protocol::invalidCommand]),
                       asio::detached);
        logText("listening on port " + std::to_string(m_door.settings.port));
        tellSystemd("READY=1");
    }

  private:
    asio::awaitable<void> accept_();
    asio::awaitable<void> serve_(std::shared_ptr<Connection> connection);
    asio::awaitable<void> obey_();
    asio::awaitable<void> end_();
    void reload_();
    bool admits_(const Address& address);

    asio::io_context& m_context;
    const ServerOptions& m_options;
    Door m_door;
    tcp::acceptor m_acceptor;
    asio::signal_set m_signals;
    ControlSocket m_control;
    Connections m_connections;
};

bool Server::admits_(const Address& address) {
    const auto isHolding = [&](const Network& network) { return network.holds(address); };
    const auto isSame = [&](const auto& other) { return other->address == address; };
    if (std::ranges::none_of(m_door.settings.allowed, isHolding)) {
        m_door.statistics.refuse(Refusal::network);
    } else if (m_connections.size() >= m_door.settings.connections) {
        m_door.statistics.refuse(Refusal::connections);
    } else if (std::ranges::count_if(m_connections, isSame) >=
               static_cast<ptrdiff_t>(m_door.settings.connectionsOfAnAddress)) {
        m_door.statistics.refuse(Refusal::address);
    } else {
        return true;
    }
    return false;
}

asio::awaitable<void> Server::accept_() {
    while (m_acceptor.is_open()) {
        auto [error, socket] = co_await m_acceptor.async_accept(kResult);
        if (error) {  // descriptors or memory are lacking, or the gate ends
            asio::steady_timer pause(m_context, kPauseWithoutDescriptors);
            co_await pause.async_wait(kResult);
            continue;
        }
        const tcp::endpoint peer = socket.remote_endpoint(error);
        const Address address = plainAddress(peer.address());
        if (error || !admits_(address)) {
            continue;
        }
        socket.set_option(tcp::no_delay(true), error);
        const auto connection =
            std::make_shared<Connection>(Connection{std::move(socket), address});
        m_connections.insert(connection);
        m_door.statistics.connections = static_cast<unsigned>(m_connections.size());
        asio::co_spawn(m_context, serve_(connection), asio::detached);
    }
}

asio::awaitable<void> Server::serve_(std::shared_ptr<Connection> connection) {
    try {
        co_await converse(m_door, *connection);
    } catch (const std::exception& error) {  // memory is lacking: one client less
        logText(std::string("a conversation was given up: ") + error.what());
    }
    m_connections.erase(connection);
    m_door.statistics.connections = static_cast<unsigned>(m_connections.size());
}

asio::awaitable<void> Server::obey_() {
    for (;;) {
        const auto [error, number] = co_await m_signals.async_wait(kResult);
        if (error || number != SIGHUP) {
            break;
        }
        reload_();
    }
    co_await end_();
}

void Server::reload_() {
    try {
        Settings read = readSettings(m_options.configFile, m_options.mayLack);
        if (read.port != m_door.settings.port) {
            logText("listen.port counts from the next start on");
        }
        m_door.settings = std::move(read);
        logText("settings read again");
    } catch (const SettingsError& error) {
        logText(std::string(error.what()) + "; the settings in force stay");
    }
}

asio::awaitable<void> Server::end_() {
    tellSystemd("STOPPING=1");
    boost::system::error_code ignored;
    m_acceptor.close(ignored);
    for (const auto& connection : m_connections) {
        if (connection->isAsking) {
            connection->socket.close(ignored);
        }
    }
    const auto end = std::chrono::steady_clock::now() + kEnding;
    asio::steady_timer tick(m_context);
    while (!m_connections.empty() && std::chrono::steady_clock::now() < end) {
        tick.expires_after(std::chrono::milliseconds(20));
        co_await tick.async_wait(kResult);
    }
    logText("ended");
    m_context.stop();
}

}  // namespace

int serve(const ServerOptions& options) {
    signal(SIGPIPE, SIG_IGN);  // a line of the log whose reader has gone is dropped
    rlimit descriptors{};
    if (getrlimit(RLIMIT_NOFILE, &descriptors) == 0) {
        descriptors.rlim_cur =
            descriptors.rlim_max;  // a thousand clients come near the usual 1,024
        setrlimit(RLIMIT_NOFILE, &descriptors);
    }
    asio::io_context context(1);
    Server server(context, options);
    server.start();
    context.run();
    return 0;
}

}  // namespace gate
