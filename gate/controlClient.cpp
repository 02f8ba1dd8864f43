#include "gate/controlClient.h"

#include <sys/socket.h>
#include <sys/time.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <iostream>
#include <nlohmann/json.hpp>
#include <stdexcept>

#include "gate/qrText.h"
#include "support/wholeFile.h"

namespace gate {
namespace {

using Json = nlohmann::ordered_json;

constexpr timeval kPatience{10, 0};
constexpr size_t kMostBytes = size_t{1} << 20;

[[noreturn]] void fail(const std::string& path) {
    const bool isAbsent = errno == ENOENT || errno == ECONNREFUSED;
    throw std::runtime_error((isAbsent ? "no gate is running: " : "") + path + ": " +
                             strerror(errno));
}

support::Descriptor connected(const std::string& path) {
    sockaddr_un address{};
    if (path.size() >= sizeof address.sun_path) {
        errno = ENAMETOOLONG;
        fail(path);
    }
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, path.size());
    support::Descriptor connection(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    for (const int limit : {SO_RCVTIMEO, SO_SNDTIMEO}) {
        setsockopt(connection.get(), SOL_SOCKET, limit, &kPatience, sizeof kPatience);
    }
    if (connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) !=
        0) {
        fail(path);
    }
    return connection;
}

/// The gate's answer to a command, an object.
Json ask(const ControlOptions& options, const Json& command) {
    const support::Descriptor connection = connected(options.socket);
    // In the place of a byte that is no UTF-8 stands U+FFFD.
    const std::string line = command.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n";
    std::string text;
    if (send(connection.get(), line.data(), line.size(), MSG_NOSIGNAL) < 0 ||
        !support::readToEnd(connection, text, kMostBytes)) {
        fail(options.socket);
    }
    Json answer = Json::parse(text, nullptr, false);
    if (!answer.is_object()) {
        throw std::runtime_error(options.socket + ": the gate gave no answer");
    }
    if (answer.contains("error")) {
        throw std::runtime_error(answer["error"].get<std::string>());
    }
    return answer;
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

/// Whether the answer is for a program, which has got it then.
bool isPrinted(const ControlOptions& options, const Json& answer) {
    if (options.asJson) {
        std::cout << answer.dump(2) << '\n';
    }
    return options.asJson;
}

}  // namespace

void printStatus(const ControlOptions& options) {
    const Json state = ask(options, {{"command", "status"}});
    if (!isPrinted(options, state)) {
        printTable(state, "");
    }
}

void printPairing(const ControlOptions& options, const std::string& name) {
    const Json answer = ask(options, {{"command", "pair"}, {"name", name}});
    if (isPrinted(options, answer)) {
        return;
    }
    const std::string address = answer.at("address");
    const std::string code = answer.at("code");
    std::cout << qrText(address, isatty(STDOUT_FILENO) == 1) << "Open   " << address << "\nCode   "
              << code << "\nValid  for one phone and "
              << answer.at("expires_seconds").get<int>() / 60 << " minutes\n";
}

void printDevices(const ControlOptions& options) {
    const Json answer = ask(options, {{"command", "devices"}});
    if (isPrinted(options, answer)) {
        return;
    }
    if (answer.at("devices").empty()) {
        std::cout << "no phone is paired\n";
    }
    for (const Json& device : answer.at("devices")) {
        std::cout << device.at("id").get<std::string>() << "  paired "
                  << device.at("paired").get<std::string>().substr(0, 10) << "  seen "
                  << device.at("seen").get<std::string>() << "  "
                  << device.at("name").get<std::string>() << '\n';
    }
}

void revokeDevice(const ControlOptions& options, const std::string& id) {
    ask(options, {{"command", "revoke"}, {"id", id}});
}

}  // namespace gate
