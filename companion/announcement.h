// The announcement that comes before each payload, read as it arrives: bytes go in, and the size
// comes out. It knows of no socket, so that a blocking client and an event loop read it alike.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace companion {

/// No answer of the agent comes near this size; a larger announcement is not trusted.
inline constexpr uint64_t kPayloadLimit = uint64_t{256} << 20;

/// The announcement of a payload of `size` bytes, as the agent writes it. Any thread.
std::string announcementText(uint64_t size);

/// An announcement on its way. An object serves one connection, on one thread at a time.
class Announcement final {
  public:
    enum class State {
        unfinished,  ///< more has to come
        sized,       ///< size() holds, but the line feed that ends the announcement is still out
        whole,       ///< size() holds and all of it has come: the go-ahead may be given
        silent,      ///< the connection ended without a byte, see isUnanswered
        malformed,   ///< fault() tells why; nothing more is taken
    };

    /// Takes the next bytes of the connection, any number of them, and returns the new state.
    /// To leave the payload alone, read no more than wanted() at a time.
    State take(std::string_view bytes);

    /// The agent has closed the connection. Returns the state that this makes final.
    State end();

    State state() const noexcept { return m_state; }

    /// How many bytes may be read now without touching the payload: 0 once all of it has come. In
    /// the state `sized` it is the line feed. That may lie in a segment of its own, and has to
    /// be waited for a moment, or it would be taken for the first byte of the payload; an agent
    /// that sends none is served all the same.
    size_t wanted() const noexcept;

    /// All bytes taken so far.
    const std::string& text() const noexcept { return m_text; }
    /// The bytes of the payload, at most kPayloadLimit, in the states `sized` and `whole`. After a
    /// size of 0 no go-ahead may be given: the agent would write what it does not have, and stop.
    uint64_t size() const noexcept { return m_size; }
    /// Why the announcement is of no use, as a sentence for people; empty unless malformed.
    const std::string& fault() const noexcept { return m_fault; }

  private:
    State refuse_(const std::string& fault);

    State m_state = State::unfinished;
    std::string m_text;
    std::string m_fault;
    uint64_t m_size = 0;
};

}  // namespace companion
