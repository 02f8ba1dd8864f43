#include "gate/agentQueue.h"

#include <algorithm>
#include <boost/asio/as_tuple.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/use_awaitable.hpp>

#include "companion/answer.h"
#include "support/protocol.h"

namespace gate {
namespace {

namespace asio = boost::asio;
using std::chrono::steady_clock;
using Kind = AgentReply::Kind;

constexpr auto kResult = asio::as_tuple(asio::use_awaitable);
constexpr std::chrono::milliseconds kFirstPause{100};
constexpr std::chrono::milliseconds kLongestPause{2000};
/// An agent that was restarted unseen may tell another version.
constexpr std::chrono::minutes kEnvelopeKept{1};

bool isStatus(const Command* command) {
    return command != nullptr && std::string_view(command->name) == protocol::kGetStatus;
}

/// Equal requests that wait are answered by one conversation; null is the gate's own.
bool isShared(const Command* command) {
    return command == nullptr || command->isShared;
}

}  // namespace

AgentQueue::AgentQueue(asio::io_context& context, const Settings& settings)
    : m_context(context), m_settings(settings) {}

asio::awaitable<Answer> AgentQueue::ask(Address client, const std::string& request,
                                        const Command* command) {
    const Time arrival = steady_clock::now();
    JobPtr job;
    ++m_waiting;
    do {
        job = join_(client, request, command, arrival);
        if (!m_isWorking) {
            m_isWorking = true;
            asio::co_spawn(m_context, work_(), asio::detached);
        }
        while (!job->isDone) {
            co_await job->finished.async_wait(kResult);
        }
        // The time of one that was joined is over before that of this client.
    } while (job->answer.reply.kind == Kind::gone && job->arrival < arrival);
    --m_waiting;
    Answer answer = job->answer;
    answer.queued -= arrival - job->arrival;  // one that was joined has waited longer
    if (isStatus(command) && answer.reply.kind == Kind::answered) {
        std::string status = answer.reply.text();
        m_refreshed.give(client, status);
        answer.reply = AgentReply::answeredWith(std::move(status));
    }
    co_return answer;
}

AgentQueue::JobPtr AgentQueue::join_(const Address& client, const std::string& request,
                                     const Command* command, Time arrival) {
    const auto same = m_shared.find(request);
    JobPtr job;
    if (isShared(command) && same != m_shared.end()) {
        job = same->second;
    } else {
        job = std::make_shared<Job>(
            Job{request,
                command,
                arrival,
                {},
                asio::steady_timer(m_context, steady_clock::time_point::max())});
    }
    if (isShared(command)) {
        m_shared[request] = job;
    }
    // One that was joined is in the lines of all who ask for it: a client that waits behind many
    // requests of its own must not make the others wait for those.
    Line& line = m_lines[client];
    if (line.jobs.empty()) {
        line.turn = ++m_lastTurn;
        m_turns.emplace_back(client, line.turn);
    }
    if (std::ranges::find(line.jobs, job) == line.jobs.end()) {
        line.jobs.push_back(job);
        job->askers.push_back(client);
    }
    return job;
}

/// It waits no more, in nobody's line: who asks for something else now has a turn of its own.
void AgentQueue::take_(const JobPtr& job) {
    for (const Address& asker : job->askers) {
        const auto line = m_lines.find(asker);
        std::erase(line->second.jobs, job);
        if (line->second.jobs.empty()) {
            m_lines.erase(line);
        }
    }
    if (const auto shared = m_shared.find(job->request);
        shared != m_shared.end() && shared->second == job) {
        m_shared.erase(shared);
    }
}

AgentQueue::JobPtr AgentQueue::next_() {
    while (!m_turns.empty()) {
        const auto [address, turn] = m_turns.front();
        m_turns.pop_front();
        const auto line = m_lines.find(address);
        if (line == m_lines.end() || line->second.turn != turn) {
            continue;
        }
        JobPtr job = line->second.jobs.front();
        take_(job);
        if (m_lines.contains(address)) {
            m_turns.emplace_back(address, turn);
        }
        return job;
    }
    return nullptr;
}

void AgentQueue::finish_(const JobPtr& job, AgentReply reply) {
    const Time now = steady_clock::now();
    const Time begun = job->begun == Time{} ? now : job->begun;
    job->answer = {std::move(reply), begun - job->arrival, now - begun};
    job->isDone = true;
    job->finished.cancel();
}

void AgentQueue::setUp_(bool isUp) {
    if (m_isUp != isUp) {
        m_isUp = isUp;
        m_since = steady_clock::now();
        m_envelope.clear();  // another agent may be another version
    }
}

asio::awaitable<void> AgentQueue::work_() {
    while (const JobPtr job = next_()) {
        AgentReply reply;
        m_isAtSlowCommand = job->command != nullptr && job->command->isSlow;
        try {
            reply = co_await converse_(*job);
            if (reply.kind == Kind::answered && isStatus(job->command)) {
                std::string status = reply.text();
                m_refreshed.collect(status);
                reply = AgentReply::answeredWith(std::move(status));
            }
            if (reply.payload && isShared(job->command)) {
                keepOnce_(job->request, reply.payload);
            }
        } catch (const std::exception&) {  // memory is lacking: the others have to be served
            reply.kind = Kind::failed;
        }
        m_isAtSlowCommand = false;
        finish_(job, std::move(reply));
    }
    m_isWorking = false;
}

/// However many clients are slow to take an icon, it is in memory once.
void AgentQueue::keepOnce_(const std::string& request, Payload& payload) {
    std::erase_if(m_payloads, [](const auto& entry) { return entry.second.expired(); });
    Payload::weak_type& kept = m_payloads[request];
    if (const auto last = kept.lock(); last && *last == *payload) {
        payload = last;
    }
    kept = payload;
}

asio::awaitable<AgentReply> AgentQueue::converse_(Job& job) {
    const std::chrono::seconds limit = limitOf_(job.command);
    std::chrono::milliseconds pause = kFirstPause;
    for (;;) {
        const asio::ip::tcp::endpoint agent(asio::ip::make_address(m_settings.agentAddress),
                                            m_settings.agentPort);
        job.begun = steady_clock::now();
        ++m_conversations;
        AgentReply reply = co_await askAgent(agent, job.request, limit);
        const bool isUp = reply.kind == Kind::answered || reply.kind == Kind::silent;
        setUp_(isUp);
        if (isUp) {
            m_heard = steady_clock::now();
        } else {
            giveUpLate_();
        }
        if (reply.kind != Kind::gone || steady_clock::now() + pause - job.arrival > limit) {
            co_return reply;
        }
        asio::steady_timer timer(m_context, pause);
        co_await timer.async_wait(kResult);
        pause = std::min(pause * 2, kLongestPause);
    }
}

/// While the agent is away, nobody waits longer than a conversation may take.
void AgentQueue::giveUpLate_() {
    const Time now = steady_clock::now();
    std::vector<JobPtr> late;
    for (const auto& entry : m_lines) {
        std::ranges::copy_if(entry.second.jobs, std::back_inserter(late), [&](const JobPtr& job) {
            return job->askers.front() == entry.first &&
                   now - job->arrival > limitOf_(job->command);
        });
    }
    for (const JobPtr& job : late) {
        take_(job);
        finish_(job, {});
    }
}

std::chrono::seconds AgentQueue::limitOf_(const Command* command) const {
    const bool isSlow = command != nullptr && command->isSlow;
    return std::chrono::seconds(isSlow ? m_settings.slowSeconds : m_settings.agentSeconds);
}

asio::awaitable<AgentReply> AgentQueue::refusal(Address client, const char* result) {
    if (m_envelope.empty() || steady_clock::now() - m_envelopeSince > kEnvelopeKept) {
        const std::string unknown = unknownCommandRequest();
        const Answer answer = co_await ask(client, unknown, nullptr);
        m_envelope = answer.reply.text();
        m_envelopeSince = steady_clock::now();
    }
    const std::string_view known = protocol::kResultTexts[protocol::invalidCommand];
    std::string document = m_envelope;
    const size_t place = document.rfind(known);
    if (place == std::string::npos) {
        co_return AgentReply{};
    }
    document.replace(place, known.size(), result);
    // The answer to a log-in leaves a version out that is not known.
    const std::string version = std::string("\t<") + protocol::kDesktopVersionElement + "/>\n";
    if (const size_t empty = document.find(version);
        std::string_view(result) == protocol::kLoginFail && empty != std::string::npos) {
        document.erase(empty, version.size());
    }
    co_return AgentReply::answeredWith(std::move(document));
}

}  // namespace gate
