#include "agent/patience.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/time.h>

// A test builds this file with a shorter time.
#ifndef KALLO_PATIENCE_SECONDS
#define KALLO_PATIENCE_SECONDS 60
#endif

namespace patience {
namespace {

constexpr int kSeconds = KALLO_PATIENCE_SECONDS;

}  // namespace

void limitWaiting(int fd) noexcept {
    const timeval limit{kSeconds, 0};
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
}

void limitSending(int fd) noexcept {
    const unsigned milliseconds = kSeconds * 1000;
    setsockopt(fd, IPPROTO_TCP, TCP_USER_TIMEOUT, &milliseconds, sizeof milliseconds);
}

}  // namespace patience
