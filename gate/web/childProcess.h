// Work whose memory is not to stay.
#pragma once

#include <functional>
#include <string>

namespace gate {

/// Runs `work` in a forked child and waits for it. Returns what() of the exception that ended it,
/// empty without one. Throws std::system_error when there is no process or pipe to be had. The
/// caller is the only thread of its process.
std::string faultInChild(const std::function<void()>& work);

}  // namespace gate
