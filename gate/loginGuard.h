// Counts the log-ins that failed within the last minute, so that nobody tries passwords without
// end.
#pragma once

#include <chrono>
#include <deque>
#include <map>

#include "gate/networks.h"

namespace gate {

/// Belongs to one thread. Memory: as many entries as fail within a minute, which the limit of all
/// bounds.
class LoginGuard final {
  public:
    using Time = std::chrono::steady_clock::time_point;

    /// How many failures of one address, and of all, are too many.
    void limit(unsigned ofAnAddress, unsigned ofAll) noexcept {
        m_ofAnAddress = ofAnAddress;
        m_ofAll = ofAll;
    }

    /// Whether `address` may try once more. The attempt counts as failed until its end is told, so
    /// that attempts side by side are no more than those one after the other.
    bool admit(const Address& address, Time now);
    /// An attempt came to nothing that tells of the password: it does not count.
    void takeBack(const Address& address);
    /// Forgets the failures of `address`.
    void succeeded(const Address& address) { m_failures.erase(address); }

  private:
    void forgetOld_(Time now);

    std::map<Address, std::deque<Time>> m_failures;
    unsigned m_ofAnAddress = 5;
    unsigned m_ofAll = 20;
};

}  // namespace gate
