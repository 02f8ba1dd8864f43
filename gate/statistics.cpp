#include "gate/statistics.h"

#include <algorithm>
#include <cmath>

namespace gate {

void Durations::add(std::chrono::steady_clock::duration duration) {
    const double milliseconds = std::chrono::duration<double, std::milli>(duration).count();
    if (m_milliseconds.size() < kKept) {
        m_milliseconds.push_back(milliseconds);
    } else {
        m_milliseconds[m_next++ % kKept] = milliseconds;
    }
}

double Durations::percentile(double share) const {
    if (m_milliseconds.empty()) {
        return 0;
    }
    std::vector<double> sorted = m_milliseconds;
    const auto place = sorted.begin() + std::lround(share * static_cast<double>(sorted.size() - 1));
    std::nth_element(sorted.begin(), place, sorted.end());
    return *place;
}

}  // namespace gate
