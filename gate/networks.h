// Networks that a client may come from, as address and prefix length (RFC 4632, RFC 4291).
#pragma once

#include <boost/asio/ip/address.hpp>
#include <optional>
#include <string>
#include <vector>

namespace gate {

using Address = boost::asio::ip::address;

/// `address`, an IPv4 address that a socket of IPv6 shows (RFC 4291, 2.5.5.2) as the IPv4 address
/// that it is.
Address plainAddress(const Address& address);

/// One network, such as 192.168.0.0/16 or fc00::/7; a bare address is the network of it alone.
class Network final {
  public:
    /// Returns none when `text` is no network. Any thread.
    static std::optional<Network> parse(const std::string& text);

    bool holds(const Address& address) const;

  private:
    Network(const Address& address, unsigned prefix) : m_address(address), m_prefix(prefix) {}

    Address m_address;
    unsigned m_prefix;  ///< bits
};

/// Where a household's devices are: loopback, private, link-local and unique local addresses.
std::vector<Network> householdNetworks();

}  // namespace gate
