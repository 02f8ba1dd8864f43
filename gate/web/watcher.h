// One look at the television for all phones: it asks the agent once a second while somebody
// watches, and tells those who watch what has changed.
#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/asio/steady_timer.hpp>
#include <deque>
#include <list>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "gate/door.h"

namespace gate {

/// A window on the screen.
struct Window {
    std::string id;
    std::string title;
    std::string package;  ///< by which it was opened; empty when that is not known

    bool operator==(const Window&) const = default;
};

/// Who is at the television.
struct Session {
    bool isDesktopUp = false;
    std::string user;  ///< empty: nobody is logged in

    bool operator==(const Session&) const = default;
};

/// What somebody who watches is told: events in the form of a stream (HTML standard, 9.2).
class Subscription final {
  public:
    explicit Subscription(const boost::asio::any_io_executor& executor)
        : m_wake(executor, std::chrono::steady_clock::time_point::max()) {}

    void add(const std::shared_ptr<const std::string>& event);
    /// Waits for events. Returns those that came, oldest first; empty: the stream ends, for the
    /// gate does, or because its reader is too slow.
    boost::asio::awaitable<std::string> next();
    void end();

  private:
    static constexpr size_t kMost = 64;  ///< events that a reader may be behind

    std::deque<std::shared_ptr<const std::string>> m_events;
    boost::asio::steady_timer m_wake;
    bool m_isEnded = false;
};

/// Belongs to the thread of the door's queue.
class Watcher final {
  public:
    Watcher(boost::asio::io_context& context, Door& door);
    Watcher(const Watcher&) = delete;
    Watcher& operator=(const Watcher&) = delete;

    /// Somebody watches, until the object that is returned is gone and one event later. The first
    /// event tells the whole state.
    std::shared_ptr<Subscription> subscribe();
    /// Ends every stream.
    void end();

    /// Asks the agent for the windows now. Returns false when it does not answer.
    boost::asio::awaitable<bool> readWindows();
    /// The same for the session.
    boost::asio::awaitable<bool> readSession();

    /// A package was launched: the next new window is its own.
    void noteLaunch(const std::string& package);
    /// Something was done that shows soon: the next look is not put off.
    void hurry();

    /// Somebody watches, so that the windows are those of a second ago.
    bool isKnown() const noexcept { return m_isKnown; }
    const Session& session() const noexcept { return m_session; }
    nlohmann::ordered_json windowsAsJson() const;
    nlohmann::ordered_json sessionAsJson() const;
    nlohmann::ordered_json stateAsJson() const;

  private:
    using Time = std::chrono::steady_clock::time_point;
    struct Launch {
        std::string package;
        Time time;
    };

    /// Starts a loop that runs while somebody watches, unless it does already.
    void run_(bool& isRunning, boost::asio::awaitable<void> (Watcher::*loop)());
    boost::asio::awaitable<void> look_();
    boost::asio::awaitable<void> beat_();
    boost::asio::awaitable<std::string> ask_(const char* command);
    void takeWindows_(const std::string& document);
    std::string openedBy_(const std::string& title);
    void setUp_(bool isUp);
    bool isAgentSilent_() const;
    bool isWatched_();
    void publish_(const char* name, const nlohmann::ordered_json& data);

    boost::asio::io_context& m_context;
    Door& m_door;
    std::list<std::weak_ptr<Subscription>> m_watching;
    boost::asio::steady_timer m_pause;
    bool m_isLooking = false;
    bool m_isBeating = false;
    bool m_isUp = false;
    bool m_isKnown = false;  ///< windows and session were read since the agent came up
    Time m_asked{};          ///< since when a question is without an answer
    std::vector<Window> m_windows;
    Session m_session;
    std::deque<Launch> m_launches;
};

}  // namespace gate
