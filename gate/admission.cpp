#include "gate/admission.h"

#include <algorithm>

namespace gate {

std::optional<Refusal> refusalOf(const Address& address, const Places<Address>& taken,
                                 const AdmissionLimits& limits) {
    const auto isHolding = [&](const Network& network) { return network.holds(address); };
    if (std::ranges::none_of(limits.allowed, isHolding)) {
        return Refusal::network;
    }
    if (taken.all() >= limits.connections) {
        return Refusal::connections;
    }
    return taken.of(address) >= limits.connectionsOfAnAddress ? std::optional(Refusal::address)
                                                              : std::nullopt;
}

}  // namespace gate
