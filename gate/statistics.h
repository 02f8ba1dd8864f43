// What the gate has done since it started, for `kallogate status`.
#pragma once

#include <array>
#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace gate {

/// Why a connection or a request came to nothing, in the order of kRefusalNames.
enum class Refusal { network, connections, address, silence, unsound, logins, agent, browser };
inline constexpr std::array<const char*, 8> kRefusalNames = {
    "foreign_network", "too_many_connections", "too_many_of_an_address",
    "no_request",      "unsound_request",      "too_many_logins",
    "agent_gone",      "browser_request"};

/// The last durations of one kind.
class Durations final {
  public:
    void add(std::chrono::steady_clock::duration duration);
    /// Milliseconds that `share` (0 to 1) of the last kKept durations did not exceed; 0 without
    /// any.
    double percentile(double share) const;

  private:
    static constexpr size_t kKept = 1024;
    std::vector<double> m_milliseconds;
    size_t m_next = 0;
};

/// Belongs to one thread.
struct Statistics {
    unsigned connections = 0;  ///< now
    uint64_t answered = 0;
    std::array<uint64_t, kRefusalNames.size()> refused{};
    Durations queued;
    Durations atAgent;
    Durations total;

    void refuse(Refusal reason) { ++refused[static_cast<size_t>(reason)]; }
};

}  // namespace gate
