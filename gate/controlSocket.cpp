#include "gate/controlSocket.h"

#include <unistd.h>

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>
#include <iostream>
#include <nlohmann/json.hpp>

#include "gate/log.h"

namespace gate {
namespace {

namespace asio = boost::asio;
using Local = asio::local::stream_protocol;
using Json = nlohmann::ordered_json;

constexpr auto kResult = asio::as_tuple(asio::use_awaitable);

Json percentiles(const Durations& durations) {
    return {{"p50", durations.percentile(0.5)},
            {"p95", durations.percentile(0.95)},
            {"p99", durations.percentile(0.99)}};
}

std::string stateOf(const Door& door) {
    const std::chrono::duration<double> since =
        std::chrono::steady_clock::now() - door.queue.agentSince();
    Json refused;
    for (size_t reason = 0; reason < kRefusalNames.size(); ++reason) {
        refused[kRefusalNames[reason]] = door.statistics.refused[reason];
    }
    const Json state = {{"connections", door.statistics.connections},
                        {"waiting", door.queue.waiting()},
                        {"answered", door.statistics.answered},
                        {"conversations_with_agent", door.queue.conversations()},
                        {"refused", refused},
                        {"queued_ms", percentiles(door.statistics.queued)},
                        {"at_agent_ms", percentiles(door.statistics.atAgent)},
                        {"total_ms", percentiles(door.statistics.total)},
                        {"agent", door.queue.isAgentUp() ? "up" : "down"},
                        {"agent_since_seconds", since.count()}};
    return state.dump(2) + "\n";
}

asio::awaitable<void> tell(Local::socket socket, std::string state) {
    co_await asio::async_write(socket, asio::buffer(state), kResult);
}

void printTable(const Json& table, const std::string& indent) {
    for (const auto& [name, value] : table.items()) {
        if (value.is_object()) {
            std::cout << indent << name << ":\n";
            printTable(value, indent + "  ");
        } else {
            std::cout << indent << name << ": "
                      << (value.is_string() ? value.get<std::string>() : value.dump()) << '\n';
        }
    }
}

}  // namespace

ControlSocket::ControlSocket(asio::io_context& context, const std::string& path, const Door& door)
    : m_context(context), m_acceptor(context), m_door(door) {
    boost::system::error_code error;
    unlink(path.c_str());
    m_acceptor.open(Local(), error);
    m_acceptor.bind(Local::endpoint(path), error);
    if (!error) {
        m_acceptor.listen(Local::acceptor::max_listen_connections, error);
    }
    if (error) {
        logText(path + ": " + error.message() + "; nobody can ask for the status");
        m_acceptor.close(error);
    }
}

void ControlSocket::start() {
    asio::co_spawn(m_context, accept_(), asio::detached);
}

asio::awaitable<void> ControlSocket::accept_() {
    while (m_acceptor.is_open()) {
        auto [error, socket] = co_await m_acceptor.async_accept(kResult);
        if (error) {
            asio::steady_timer pause(m_context, std::chrono::milliseconds(100));
            co_await pause.async_wait(kResult);
            continue;
        }
        std::string state = stateOf(m_door);
        asio::co_spawn(m_context, tell(std::move(socket), std::move(state)), asio::detached);
    }
}

int printStatus(const std::string& path, bool asJson) {
    asio::io_context context;
    Local::socket socket(context);
    boost::system::error_code error;
    std::string state;
    socket.connect(Local::endpoint(path), error);
    if (!error) {
        asio::read(socket, asio::dynamic_buffer(state), error);
    }
    if (state.empty()) {
        std::cerr << "kallogate: " << path << ": " << error.message() << '\n';
        return 1;
    }
    if (asJson) {
        std::cout << state;
    } else {
        printTable(Json::parse(state), "");
    }
    return 0;
}

}  // namespace gate
