// Leaving a process at once, without running what the parent registered for its own end.
#pragma once

namespace support {

/// Ends the calling process with `status`, without exit handlers and destructors: for signal
/// handlers and for forked children, whose parent's handlers are not theirs to run. Builds with a
/// sanitizer or coverage leave through exit(3), because their runtimes report from exit handlers.
/// Safe in a signal handler in plain builds (signal-safety(7)).
[[noreturn]] void leaveNow(int status) noexcept;

}  // namespace support
