#include "gate/server.h"

#include <sys/resource.h>

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <csignal>
#include <stdexcept>
#include <unordered_set>
#ifdef KALLO_SYSTEMD
#include <systemd/sd-daemon.h>
#endif

#include "gate/admission.h"
#include "gate/appConversation.h"
#include "gate/controlSocket.h"
#include "gate/listener.h"
#include "gate/log.h"
#include "gate/web/webDoor.h"

namespace gate {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;

constexpr auto kResult = asio::as_tuple(asio::use_awaitable);
/// How long requests in work may take once the gate has been told to end.
constexpr std::chrono::seconds kEnding{10};

void tellSystemd([[maybe_unused]] const char* state) {
#ifdef KALLO_SYSTEMD
    sd_notify(0, state);
#endif
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
          m_devices(options.stateDirectory + "/devices.json"),
          m_control(context, options.controlSocket, m_door,
                    {m_devices, m_codes,
                     [this](const std::string& code) { return pairingAddress_(code); }}) {
        if (m_door.settings.web.isServed) {
            m_web.emplace(context, m_door, m_devices, m_codes, options.stateDirectory);
        }
    }

    void start() {
        // Without either the gate is of no use: it ends, and its supervisor starts it anew.
        const auto fail = [](const std::exception_ptr& error) {
            if (error) {
                std::rethrow_exception(error);
            }
        };
        const auto take = [this](tcp::socket socket) { take_(std::move(socket)); };
        asio::co_spawn(m_context, acceptAll(m_acceptor, take), fail);
        asio::co_spawn(m_context, obey_(), fail);
        m_control.start();
        if (m_web) {
            m_web->start();
        }
        // The status tells of the agent from the start on.
        asio::co_spawn(m_context,
                       m_door.queue.refusal(asio::ip::address_v4::loopback(),
                                            protocol::kResultTexts[protocol::invalidCommand]),
                       asio::detached);
        std::string ports = "listening on port " + std::to_string(m_door.settings.port);
        if (m_web) {
            ports += ", for browsers on " + std::to_string(m_door.settings.web.port);
        }
        logText(ports);
        tellSystemd("READY=1");
    }

  private:
    void take_(tcp::socket socket);
    asio::awaitable<void> serve_(std::shared_ptr<Connection> connection);
    asio::awaitable<void> obey_();
    asio::awaitable<void> end_();
    void reload_();
    std::string pairingAddress_(const std::string& code) const;

    asio::io_context& m_context;
    const ServerOptions& m_options;
    Door m_door;
    tcp::acceptor m_acceptor;
    asio::signal_set m_signals;
    Devices m_devices;
    PairingCodes m_codes;
    ControlSocket m_control;
    Places<Address> m_places;
    Connections m_connections;
    std::optional<WebDoor> m_web;
};

void Server::take_(tcp::socket socket) {
    const Settings& settings = m_door.settings;
    auto admitted =
        admit(socket, m_door, m_places, {settings.connections, settings.connectionsOfAnAddress});
    if (!admitted) {
        return;
    }
    const auto connection = std::make_shared<Connection>(
        Connection{std::move(socket), admitted->address, std::move(admitted->place)});
    m_connections.insert(connection);
    m_door.statistics.connections = m_places.all();
    asio::co_spawn(m_context, serve_(connection), asio::detached);
}

asio::awaitable<void> Server::serve_(std::shared_ptr<Connection> connection) {
    try {
        co_await converse(m_door, *connection);
    } catch (const std::exception& error) {  // memory is lacking: one client less
        logText(std::string("a conversation was given up: ") + error.what());
    }
    m_connections.erase(connection);
    connection->place.reset();
    m_door.statistics.connections = m_places.all();
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
        if (read.port != m_door.settings.port || read.web.port != m_door.settings.web.port ||
            read.web.isServed != m_door.settings.web.isServed) {
            logText("listen.port, web.port and web.serve count from the next start on");
        }
        std::swap(m_door.settings, read);
        try {
            if (m_web) {
                m_web->reload();
            }
        } catch (...) {
            std::swap(m_door.settings, read);
            throw;
        }
        logText("settings read again");
    } catch (const std::runtime_error& error) {
        logText(std::string(error.what()) + "; the settings in force stay");
    }
}

std::string Server::pairingAddress_(const std::string& code) const {
    if (!m_web) {
        throw std::runtime_error("the door for browsers is closed: web.serve is false");
    }
    return m_web->pairingAddress(code);
}

asio::awaitable<void> Server::end_() {
    tellSystemd("STOPPING=1");
    boost::system::error_code ignored;
    m_acceptor.close(ignored);
    if (m_web) {
        m_web->end();
    }
    for (const auto& connection : m_connections) {
        if (connection->isAsking) {
            connection->socket.close(ignored);
        }
    }
    const auto end = std::chrono::steady_clock::now() + kEnding;
    asio::steady_timer tick(m_context);
    while ((!m_connections.empty() || (m_web && !m_web->isIdle())) &&
           std::chrono::steady_clock::now() < end) {
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
