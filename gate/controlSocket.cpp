#include "gate/controlSocket.h"

#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <boost/asio/as_tuple.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>
#include <ctime>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "gate/deadline.h"
#include "gate/listener.h"
#include "gate/log.h"

namespace gate {
namespace {

namespace asio = boost::asio;
using Local = asio::local::stream_protocol;
using Json = nlohmann::ordered_json;

constexpr std::chrono::seconds kPatience{5};
constexpr size_t kMostBytes = 4096;
constexpr mode_t kForOthersNothing = 0077;
constexpr auto kResult = asio::as_tuple(asio::use_awaitable);

Json percentiles(const Durations& durations) {
    return {{"p50", durations.percentile(0.5)},
            {"p95", durations.percentile(0.95)},
            {"p99", durations.percentile(0.99)}};
}

Json stateOf(const Door& door) {
    const std::chrono::duration<double> since =
        std::chrono::steady_clock::now() - door.queue.agentSince();
    Json refused;
    for (size_t reason = 0; reason < kRefusalNames.size(); ++reason) {
        refused[kRefusalNames[reason]] = door.statistics.refused[reason];
    }
    return {{"connections", door.statistics.connections},
            {"waiting", door.queue.waiting()},
            {"answered", door.statistics.answered},
            {"conversations_with_agent", door.queue.conversations()},
            {"refused", refused},
            {"queued_ms", percentiles(door.statistics.queued)},
            {"at_agent_ms", percentiles(door.statistics.atAgent)},
            {"total_ms", percentiles(door.statistics.total)},
            {"agent", door.queue.isAgentUp() ? "up" : "down"},
            {"agent_since_seconds", since.count()}};
}

std::string timeText(std::chrono::sys_seconds time, const char* format) {
    const time_t seconds = time.time_since_epoch().count();
    std::array<char, 32> text{};
    tm parts{};
    gmtime_r(&seconds, &parts);
    const size_t length = strftime(text.data(), text.size(), format, &parts);
    return {text.data(), length};
}

Json devicesOf(const Devices& devices) {
    Json list = Json::array();
    for (const Device& device : devices.list()) {
        list.push_back({{"id", device.id},
                        {"name", device.name},
                        {"paired", timeText(device.paired, "%Y-%m-%dT%H:%M:%SZ")},
                        {"seen", timeText(device.seen, "%Y-%m-%d")}});
    }
    return {{"devices", list}};
}

Json pair(const Pairing& pairing, const std::string& name) {
    if (!name.empty() && !Devices::isName(name)) {
        throw std::runtime_error("a name is UTF-8 text without control characters, at most " +
                                 std::to_string(Devices::kLongestName) + " bytes");
    }
    if (pairing.devices.list().size() >= Devices::kMost) {
        throw DevicesError(kTooManyDevices);
    }
    const std::string code = pairing.codes.open(name, std::chrono::steady_clock::now());
    return {{"address", pairing.address(code)},
            {"code", code},
            {"expires_seconds", PairingCodes::kValid.count()}};
}

Json revoke(const Pairing& pairing, const std::string& id) {
    if (!pairing.devices.revoke(id)) {
        throw std::runtime_error("no device has this id");
    }
    logText("device " + id + " is revoked");
    return Json::object();
}

}  // namespace

ControlSocket::ControlSocket(asio::io_context& context, const std::string& path, const Door& door,
                             Pairing pairing)
    : m_context(context), m_acceptor(context), m_door(door), m_pairing(std::move(pairing)) {
    boost::system::error_code error;
    unlink(path.c_str());
    m_acceptor.open(Local(), error);
    const mode_t mask = umask(kForOthersNothing);  // who may connect may pair a phone
    m_acceptor.bind(Local::endpoint(path), error);
    umask(mask);
    if (!error) {
        m_acceptor.listen(Local::acceptor::max_listen_connections, error);
    }
    if (error) {
        logText(path + ": " + error.message() + "; nobody can ask for the status or pair a phone");
        m_acceptor.close(error);
    }
}

void ControlSocket::start() {
    const auto take = [this](Socket socket) {
        asio::co_spawn(m_context, serve_(std::move(socket)), asio::detached);
    };
    asio::co_spawn(m_context, acceptAll(m_acceptor, take), asio::detached);
}

asio::awaitable<void> ControlSocket::serve_(Socket socket) {
    Deadline deadline(socket);
    deadline.extend(kPatience);
    std::string line;
    auto buffer = asio::dynamic_buffer(line, kMostBytes);
    const auto [error, length] = co_await asio::async_read_until(socket, buffer, '\n', kResult);
    if (error && error != asio::error::not_found) {  // the client has gone
        co_return;
    }
    const std::string answer = error ? Json{{"error", "the command is too long"}}.dump() + "\n"
                                     : answer_(std::string_view(line).substr(0, length));
    co_await asio::async_write(socket, asio::buffer(answer), kResult);
}

std::string ControlSocket::answer_(std::string_view line) {
    Json answer;
    try {
        const Json asked = Json::parse(line);
        const std::string command = asked.at("command");
        if (command == "status") {
            answer = stateOf(m_door);
        } else if (command == "pair") {
            answer = pair(m_pairing, asked.value("name", ""));
        } else if (command == "devices") {
            answer = devicesOf(m_pairing.devices);
        } else if (command == "revoke") {
            answer = revoke(m_pairing, asked.at("id"));
        } else {
            answer = {{"error", "no such command"}};
        }
    } catch (const Json::exception&) {
        answer = {{"error", "the command is not understood"}};
    } catch (const std::exception& error) {
        answer = {{"error", error.what()}};
    }
    return answer.dump() + "\n";
}

}  // namespace gate
