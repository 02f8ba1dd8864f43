// What the file of the gate says; every key has a default.
#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

#include "gate/networks.h"
#include "support/protocol.h"

namespace gate {

struct Settings {
    uint16_t port = 9813;  ///< of the gate, IPv4 and IPv6
    std::string agentAddress = "127.0.0.1";
    uint16_t agentPort = protocol::kPort;
    std::vector<Network> allowed = householdNetworks();
    unsigned connections = 1000;          ///< at once
    unsigned connectionsOfAnAddress = 8;  ///< at once
    /// How many log-ins may fail within a minute until further ones are refused.
    unsigned failuresOfAnAddress = 5;
    unsigned failuresOfAll = 20;
    // Seconds
    unsigned requestSeconds = 5;   ///< until a request is whole
    unsigned agentSeconds = 10;    ///< for a conversation with the agent
    unsigned slowSeconds = 60;     ///< for one that may stop packages
    unsigned silenceSeconds = 30;  ///< of a client, without progress

    /// The door for browsers.
    struct Web {
        bool isServed = true;
        uint16_t port = 9880;
        bool isPlain = false;                  ///< HTTP without TLS, behind a proxy that has it
        std::string certificate;               ///< PEM file; empty: one that the gate makes
        std::string key;                       ///< PEM file
        std::vector<std::string> names{};      ///< of the server, besides those that it has itself
        bool isStrict = false;                 ///< tells browsers never to come without TLS again
        unsigned connections = 1200;           ///< at once
        unsigned connectionsOfAnAddress = 16;  ///< at once
    };
    Web web{};
};

/// A file that is not taken; what() is a line for people: file, line and reason.
struct SettingsError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Reads the file (TOML 1.0) at `path`. A file that does not exist gives the defaults when
/// `mayLack` holds. Throws SettingsError for one that cannot be read, is no TOML, or has a key or a
/// value that the gate does not know. Any thread.
Settings readSettings(const std::string& path, bool mayLack);

}  // namespace gate
