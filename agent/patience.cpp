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

bool isLocal(int fd) {
    int domain = 0;
    socklen_t length = sizeof domain;
    return getsockopt(fd, SOL_SOCKET, SO_DOMAIN, &domain, &length) == 0 && domain == AF_UNIX;
}

}  // namespace

void limitWaiting(int fd) noexcept {
    const timeval limit{kSeconds, 0};
    setsockopt(fd, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    // Over TCP this would cut off a slow client that makes progress.
    if (isLocal(fd)) {
        setsockopt(fd, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
    }
}

void limitSending(int fd) noexcept {
    const unsigned milliseconds = kSeconds * 1000;
    setsockopt(fd, IPPROTO_TCP, TCP_USER_TIMEOUT, &milliseconds, sizeof milliseconds);
}

}  // namespace patience
