#include "client/conversation.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "support/protocol.h"

namespace client {
namespace {

constexpr const char* kGoAhead = "OK";
constexpr int kLineFeedGraceMilliseconds = 200;

}  // namespace

Conversation::Conversation(std::unique_ptr<corex::Socket> socket) : m_socket(std::move(socket)) {}

Reply Conversation::ask(const std::string& request) {
    if (request.empty() || request.size() > protocol::kRequestLimit) {
        return fail_("a request has 1 to " + std::to_string(protocol::kRequestLimit) + " bytes");
    }
    return write_(request) ? readAnnouncement_() : Reply::failure;
}

Reply Conversation::readAnnouncement_() {
    using State = companion::Announcement::State;
    char buffer[4096];
    while (m_announcement.wanted() > 0 && mayReadOn_()) {
        const ssize_t count = read_(buffer, std::min(sizeof buffer, m_announcement.wanted()));
        if (count < 0 && m_announcement.state() == State::unfinished) {
            return Reply::failure;
        }
        count > 0 ? m_announcement.take({buffer, static_cast<size_t>(count)})
                  : m_announcement.end();
    }
    switch (m_announcement.state()) {
        case State::silent:
            return Reply::silence;
        case State::malformed:
            return fail_(m_announcement.fault());
        default:
            return Reply::answered;
    }
}

// Nobody knows whether a line feed that is still out will ever come.
bool Conversation::mayReadOn_() const {
    pollfd incoming = {m_socket->GetSocket(), POLLIN, 0};
    return m_announcement.state() != companion::Announcement::State::sized ||
           poll(&incoming, 1, kLineFeedGraceMilliseconds) == 1;
}

bool Conversation::receive(std::string& payload, const Progress& progress) {
    payload.clear();
    if (size() == 0) {
        return true;  // a go-ahead would make the agent write what it does not have, and stop it
    }
    if (!write_(kGoAhead)) {
        return false;
    }
    char buffer[65536];
    while (payload.size() < size()) {
        const size_t wanted = std::min<uint64_t>(sizeof buffer, size() - payload.size());
        const ssize_t count = read_(buffer, wanted);
        if (count < 0) {
            return false;
        }
        if (count == 0) {
            fail_("the answer ended after " + std::to_string(payload.size()) + " of " +
                  std::to_string(size()) + " bytes");
            return false;
        }
        payload.append(buffer, static_cast<size_t>(count));
        if (progress) {
            progress(payload.size(), size());
        }
    }
    return true;
}

Reply Conversation::fail_(const std::string& error) {
    m_error = error;
    return Reply::failure;
}

ssize_t Conversation::read_(void* buffer, size_t length) {
    ssize_t count = 0;
    do {
        count = m_socket->Read(buffer, length);
    } while (count < 0 && errno == EINTR);
    if (count < 0) {
        fail_(errno == EAGAIN ? "the agent did not answer within the timeout" : strerror(errno));
    }
    return count;
}

// One write for the whole text: the agent reads a request once.
bool Conversation::write_(const std::string& bytes) {
    const ssize_t count = m_socket->Write(bytes);
    if (count != static_cast<ssize_t>(bytes.size())) {
        fail_(count < 0 ? strerror(errno) : "the request could not be sent whole");
        return false;
    }
    return true;
}

}  // namespace client
