// Who may come in: from which networks, and how many connections at once, of all and of one
// address.
#pragma once

#include <optional>
#include <vector>

#include "gate/networks.h"
#include "gate/places.h"
#include "gate/statistics.h"

namespace gate {

struct AdmissionLimits {
    const std::vector<Network>& allowed;
    unsigned connections;
    unsigned connectionsOfAnAddress;
};

/// Why a connection from `address` may not come in; none when it may. Any thread.
std::optional<Refusal> refusalOf(const Address& address, const Places<Address>& taken,
                                 const AdmissionLimits& limits);

}  // namespace gate
