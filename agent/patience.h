// How long a client may hold the agent, which serves one at a time, without any progress.
#pragma once

namespace patience {

/// Bounds each read from the connection `fd`: one that waits longer fails with EAGAIN. A failure to
/// set it is not reported; the client is served all the same.
void limitWaiting(int fd) noexcept;

/// Bounds the time for which what was sent over the TCP connection `fd` may stay unacknowledged, or
/// unsent because the peer takes nothing; the kernel then drops the connection, also while close(2)
/// lingers. Only to be set when nothing more is read: until then the keep-alive options notice a
/// dead peer sooner, and this would replace their count (tcp(7), TCP_USER_TIMEOUT).
void limitSending(int fd) noexcept;

}  // namespace patience
