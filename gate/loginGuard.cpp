#include "gate/loginGuard.h"

#include <numeric>

namespace gate {

bool LoginGuard::admit(const Address& address, Time now) {
    forgetOld_(now);
    const size_t all =
        std::accumulate(m_failures.begin(), m_failures.end(), size_t{0},
                        [](size_t sum, const auto& entry) { return sum + entry.second.size(); });
    const auto own = m_failures.find(address);
    if (all >= m_ofAll || (own != m_failures.end() && own->second.size() >= m_ofAnAddress)) {
        return false;
    }
    m_failures[address].push_back(now);
    return true;
}

void LoginGuard::takeBack(const Address& address) {
    if (const auto own = m_failures.find(address);
        own != m_failures.end() && !own->second.empty()) {
        own->second.pop_back();
    }
}

void LoginGuard::forgetOld_(Time now) {
    constexpr std::chrono::minutes kRemembered{1};
    for (auto& [address, times] : m_failures) {
        while (!times.empty() && now - times.front() >= kRemembered) {
            times.pop_front();
        }
    }
    std::erase_if(m_failures, [](const auto& entry) { return entry.second.empty(); });
}

}  // namespace gate
