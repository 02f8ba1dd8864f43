// The conversation with the agent, one request a connection: send the request, read the size
// announcement, give the go-ahead, read the payload. Every subcommand talks through it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "companion/announcement.h"
#include "socketcpp/Socket.h"

namespace client {

/// What is told of an agent that keeps silent where it should not.
inline constexpr const char* kSilence = "the agent closed the connection without an answer";

enum class Reply {
    answered,  ///< an answer has been announced
    silence,   ///< the agent closed the connection without a byte
    failure,   ///< see error()
};

class Conversation final {
  public:
    /// Told after each piece of the payload: bytes received so far, bytes announced.
    using Progress = std::function<void(uint64_t received, uint64_t total)>;

    /// Takes over the connected `socket`; its own timeouts bound each step.
    explicit Conversation(std::unique_ptr<corex::Socket> socket);

    /// Sends `request` (1 to protocol::kRequestLimit bytes) and waits for the announcement, or for
    /// the agent to close the connection.
    Reply ask(const std::string& request);

    /// The announcement document as it came, and the payload size in bytes that it names.
    const std::string& announcement() const { return m_announcement.text(); }
    uint64_t size() const { return m_announcement.size(); }

    /// After Reply::answered: gives the go-ahead and reads exactly size() bytes into `payload`.
    /// A size of 0 is an empty payload at once, without a go-ahead. Returns false, with the reason
    /// in error(), when the payload does not come whole.
    bool receive(std::string& payload, const Progress& progress = nullptr);

    const std::string& error() const { return m_error; }

  private:
    Reply fail_(const std::string& error);
    Reply readAnnouncement_();
    bool mayReadOn_() const;
    ssize_t read_(void* buffer, size_t length);
    bool write_(const std::string& bytes);

    std::unique_ptr<corex::Socket> m_socket;
    companion::Announcement m_announcement;
    std::string m_error;
};

}  // namespace client
