// The line in front of the agent: requests of many clients, one conversation at a time, fair by
// client address.
#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <deque>
#include <map>
#include <memory>
#include <utility>
#include <vector>

#include "gate/agentClient.h"
#include "gate/networks.h"
#include "gate/refreshedMark.h"
#include "gate/requestCheck.h"
#include "gate/settings.h"

namespace gate {

/// What a client's request came to, and how long that took.
struct Answer {
    AgentReply reply;
    std::chrono::steady_clock::duration queued{};
    std::chrono::steady_clock::duration atAgent{};
    bool isLimited = false;  ///< a log-in that was not tried: too many have failed
};

/// Belongs to the thread of its io_context.
class AgentQueue final {
  public:
    using Time = std::chrono::steady_clock::time_point;

    AgentQueue(boost::asio::io_context& context, const Settings& settings);
    AgentQueue(const AgentQueue&) = delete;
    AgentQueue& operator=(const AgentQueue&) = delete;

    /// Waits for the turn of a sound request and has the conversation. `command` null: any
    /// request, of the gate's own. The caller waits at once, so that `request` lasts.
    boost::asio::awaitable<Answer> ask(Address client, const std::string& request,
                                       const Command* command);

    /// The document with `result`, in the envelope that the agent gives its answers; gone while no
    /// agent has told it yet and none can be asked. `result` is one of the fixed texts.
    boost::asio::awaitable<AgentReply> refusal(Address client, const char* result);

    /// Conversations wait in the line or are under way.
    size_t waiting() const noexcept { return m_waiting; }
    bool isAgentUp() const noexcept { return m_isUp; }
    Time agentSince() const noexcept { return m_since; }
    /// When the agent last ended a conversation as it should.
    Time agentHeard() const noexcept { return m_heard; }
    /// The agent is at a command that may stop packages before it answers.
    bool isAtSlowCommand() const noexcept { return m_isAtSlowCommand; }
    uint64_t conversations() const noexcept { return m_conversations; }

  private:
    struct Job {
        std::string request;
        const Command* command;
        Time arrival;
        Time begun{};
        boost::asio::steady_timer finished;  ///< cancelled when `answer` holds
        std::vector<Address> askers{};       ///< in whose lines it stands
        bool isDone = false;
        Answer answer{};
    };
    using JobPtr = std::shared_ptr<Job>;
    using Payload = std::shared_ptr<const std::string>;

    JobPtr join_(const Address& client, const std::string& request, const Command* command,
                 Time arrival);
    void take_(const JobPtr& job);
    JobPtr next_();  ///< null when none waits
    void finish_(const JobPtr& job, AgentReply reply);
    void keepOnce_(const std::string& request, Payload& payload);
    void setUp_(bool isUp);
    boost::asio::awaitable<void> work_();
    boost::asio::awaitable<AgentReply> converse_(Job& job);
    void giveUpLate_();
    std::chrono::seconds limitOf_(const Command* command) const;

    boost::asio::io_context& m_context;
    const Settings& m_settings;
    /// What waits of one address; there while something does.
    struct Line {
        uint64_t turn = 0;  ///< in m_turns
        std::deque<JobPtr> jobs{};
    };

    std::map<Address, Line> m_lines;
    /// Whose turn it is, the next one first; one whose line has ended meanwhile is passed over.
    std::deque<std::pair<Address, uint64_t>> m_turns;
    uint64_t m_lastTurn = 0;
    std::map<std::string, JobPtr> m_shared;  ///< requests that wait and may be joined
    /// The last payload of each request, while a client has yet to take it.
    std::map<std::string, Payload::weak_type> m_payloads;
    std::string m_envelope;  ///< the agent's answer to an unknown command
    Time m_envelopeSince{};
    RefreshedMark m_refreshed;
    size_t m_waiting = 0;
    uint64_t m_conversations = 0;
    bool m_isWorking = false;
    bool m_isUp = false;
    bool m_isAtSlowCommand = false;
    Time m_since = std::chrono::steady_clock::now();
    Time m_heard{};
};

}  // namespace gate
