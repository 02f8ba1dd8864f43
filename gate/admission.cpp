#include "gate/admission.h"

#include <algorithm>

namespace gate {
namespace {

std::optional<Refusal> refusalOf(const Address& address, const Door& door,
                                 const Places<Address>& places, const AdmissionLimits& limits) {
    const auto isHolding = [&](const Network& network) { return network.holds(address); };
    if (std::ranges::none_of(door.settings.allowed, isHolding)) {
        return Refusal::network;
    }
    if (places.all() >= limits.connections) {
        return Refusal::connections;
    }
    return places.of(address) >= limits.connectionsOfAnAddress ? std::optional(Refusal::address)
                                                               : std::nullopt;
}

}  // namespace

std::optional<Admitted> admit(boost::asio::ip::tcp::socket& socket, Door& door,
                              Places<Address>& places, const AdmissionLimits& limits) {
    boost::system::error_code error;
    const auto peer = socket.remote_endpoint(error);
    if (error) {
        return std::nullopt;
    }
    const Address address = plainAddress(peer.address());
    if (const auto refusal = refusalOf(address, door, places, limits)) {
        door.statistics.refuse(*refusal);
        return std::nullopt;
    }
    socket.set_option(boost::asio::ip::tcp::no_delay(true), error);
    return Admitted{address, places.take(address)};
}

}  // namespace gate
