// Who may come in: from which networks, and how many connections at once, of all and of one
// address.
#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <memory>
#include <optional>

#include "gate/door.h"
#include "gate/networks.h"
#include "gate/places.h"

namespace gate {

struct AdmissionLimits {
    unsigned connections;
    unsigned connectionsOfAnAddress;
};

/// Where a connection comes from, and its place among those that there are.
struct Admitted {
    Address address;
    std::unique_ptr<Places<Address>::Place> place;
};

/// Lets the peer of `socket` in, whose answers then leave at once. Returns none, and counts the
/// refusal, when its network is not allowed, the limits are reached, or it is gone already.
std::optional<Admitted> admit(boost::asio::ip::tcp::socket& socket, Door& door,
                              Places<Address>& places, const AdmissionLimits& limits);

}  // namespace gate
