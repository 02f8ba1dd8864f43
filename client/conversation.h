// The conversation with the agent, one request a connection: send the request, read the size
// announcement, give the go-ahead, read the payload. Every subcommand talks through it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

#include "socketcpp/Socket.h"

namespace client {

/// The agent reads a request once and no further than this many bytes.
inline constexpr size_t requestLimit = 4096;
/// No answer of the agent comes near this size; a larger announcement is not trusted.
inline constexpr uint64_t payloadLimit = uint64_t{256} << 20;

enum class reply_t {
    announced,  ///< an answer of size() bytes is ready
    silence,    ///< the agent closed the connection without a byte
    failure,    ///< see error()
};

class Conversation final {
  public:
    /// Told after each piece of the payload: bytes received so far, bytes announced.
    using progress_t = std::function<void(uint64_t received, uint64_t total)>;

    /// Takes over the connected `socket`; its own timeouts bound each step.
    explicit Conversation(std::unique_ptr<corex::Socket> socket);

    /// Sends `request` (1 to requestLimit bytes) and waits for the announcement, or for the agent
    /// to close the connection.
    reply_t ask(const std::string& request);

    /// The announcement document as it came, and the payload size in bytes that it names.
    const std::string& announcement() const { return m_announcement; }
    uint64_t size() const { return m_size; }

    /// After reply_t::announced: gives the go-ahead and reads exactly size() bytes into `payload`.
    /// A size of 0 is an empty payload at once, without a go-ahead. Returns false, with the reason
    /// in error(), when the payload does not come whole.
    bool receive(std::string& payload, const progress_t& progress = nullptr);

    const std::string& error() const { return m_error; }

  private:
    reply_t fail_(const std::string& error);
    reply_t readAnnouncement_();
    void awaitLineFeed_();
    ssize_t read_(void* buffer, size_t length);
    bool write_(const std::string& bytes);

    std::unique_ptr<corex::Socket> m_socket;
    std::string m_announcement;
    uint64_t m_size = 0;
    std::string m_error;
};

}  // namespace client
