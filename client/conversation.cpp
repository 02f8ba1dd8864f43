#include "client/conversation.h"

#include <poll.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <utility>

#include "client/protocol.h"

namespace client {
namespace {

constexpr const char* announcementEnd = "</ZelvDocRoot>";
constexpr size_t announcementLimit = 4096;
constexpr const char* goAhead = "OK";
constexpr int lineFeedGraceMilliseconds = 200;

}  // namespace

Conversation::Conversation(std::unique_ptr<corex::Socket> socket) : m_socket(std::move(socket)) {}

reply_t Conversation::ask(const std::string& request) {
    if (request.empty() || request.size() > requestLimit) {
        return fail_("a request has 1 to " + std::to_string(requestLimit) + " bytes");
    }
    if (!write_(request)) {
        return reply_t::failure;
    }
    return readAnnouncement_();
}

reply_t Conversation::readAnnouncement_() {
    char buffer[announcementLimit];
    while (m_announcement.find(announcementEnd) == std::string::npos) {
        if (m_announcement.size() >= announcementLimit) {
            return fail_("the agent's announcement has no end");
        }
        const ssize_t count = read_(buffer, announcementLimit - m_announcement.size());
        if (count < 0) {
            return reply_t::failure;
        }
        if (count == 0) {
            return m_announcement.empty() ? reply_t::silence
                                          : fail_("the agent's announcement is cut short");
        }
        m_announcement.append(buffer, static_cast<size_t>(count));
    }
    awaitLineFeed_();
    if (!announcedSize(m_announcement, m_size)) {
        return fail_("the agent's announcement names no size");
    }
    if (m_size > payloadLimit) {
        return fail_("the agent announces " + std::to_string(m_size) + " bytes, which is too much");
    }
    return reply_t::announced;
}

// The announcement ends with a line feed. Should that come in a segment of its own, it has to be
// out of the way before the go-ahead, or it would be taken for the first byte of the payload.
void Conversation::awaitLineFeed_() {
    pollfd incoming = {m_socket->GetSocket(), POLLIN, 0};
    char lineFeed = 0;
    if (m_announcement.back() == '>' && poll(&incoming, 1, lineFeedGraceMilliseconds) == 1 &&
        read_(&lineFeed, 1) == 1) {
        m_announcement += lineFeed;
    }
}

bool Conversation::receive(std::string& payload, const progress_t& progress) {
    payload.clear();
    if (m_size == 0) {
        return true;  // a go-ahead would make the agent write what it does not have, and stop it
    }
    if (!write_(goAhead)) {
        return false;
    }
    char buffer[65536];
    while (payload.size() < m_size) {
        const size_t wanted = std::min<uint64_t>(sizeof buffer, m_size - payload.size());
        const ssize_t count = read_(buffer, wanted);
        if (count < 0) {
            return false;
        }
        if (count == 0) {
            fail_("the answer ended after " + std::to_string(payload.size()) + " of " +
                  std::to_string(m_size) + " bytes");
            return false;
        }
        payload.append(buffer, static_cast<size_t>(count));
        if (progress) {
            progress(payload.size(), m_size);
        }
    }
    return true;
}

reply_t Conversation::fail_(const std::string& error) {
    m_error = error;
    return reply_t::failure;
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
