// The names and addresses of this server: for its certificate, for what a phone is told, and for
// the check of what a browser asked for.
#pragma once

#include <string>
#include <vector>

namespace gate {

/// By what phones reach this server. Texts in small letters.
struct HostNames {
    /// The host's name, its first label, that with ".local" (mDNS), "localhost".
    std::vector<std::string> names;
    /// IPv4 before IPv6, loopback included, without brackets; without link-local IPv6, which no
    /// browser takes in an address.
    std::vector<std::string> addresses;

    /// The first IPv4 address that is not loopback, else NAME.local: what a phone can be told.
    std::string reachable() const;
};

/// Looks up those of this moment. Where the kernel does not tell the addresses, there is a line in
/// the log and loopback alone. Any thread.
HostNames ownHostNames();

}  // namespace gate
