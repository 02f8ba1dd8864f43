// Servers of the network that announce an agent, by DNS-SD over multicast DNS.
#pragma once

#include <string>
#include <vector>

namespace client {

struct Server {
    std::string name;  ///< of the announcement, for people
    std::string host;
    std::string address;  ///< IPv4, dotted
    int port;

    bool operator==(const Server&) const = default;
};

/// Asks the Avahi daemon of this machine which servers there are, for at most that many seconds,
/// and appends each of them once to `servers`. Returns why it cannot be asked; empty when it can.
std::string findServers(double seconds, std::vector<Server>& servers);

}  // namespace client
