#include "gate/door.h"

#include <algorithm>

#include "gate/log.h"
#include "support/protocol.h"

namespace gate {

namespace asio = boost::asio;
using std::chrono::steady_clock;
using Kind = AgentReply::Kind;

std::string resultIn(const std::string& payload) {
    static const std::string kStart = std::string("<") + protocol::kResultElement + ">";
    constexpr const char* kLayout = " \t\r\n";
    const size_t element = payload.find(kStart);
    const size_t text = element == std::string::npos
                            ? element
                            : payload.find_first_not_of(kLayout, element + kStart.size());
    if (text != std::string::npos) {
        std::string found = payload.substr(text, payload.find_first_of(" \t\r\n<", text) - text);
        if (std::ranges::count(protocol::kResultTexts, found) > 0 || found == protocol::kFail ||
            found == protocol::kLoginSuccess || found == protocol::kLoginFail) {
            return found;
        }
    }
    return std::to_string(payload.size()) + " bytes";
}

/// Asks for a log-in, as often as may be.
asio::awaitable<Answer> Door::logIn_(Address client, const CheckedRequest& request) {
    logins.limit(settings.failuresOfAnAddress, settings.failuresOfAll);
    if (!logins.admit(client, steady_clock::now())) {
        statistics.refuse(Refusal::logins);
        Answer refused;
        refused.isLimited = true;
        refused.reply = co_await queue.refusal(client, protocol::kLoginFail);
        co_return refused;
    }
    Answer answer = co_await queue.ask(client, request.text, request.command);
    const std::string result = resultIn(answer.reply.text());
    if (result == protocol::kLoginSuccess) {
        logins.succeeded(client);
    } else if (result != protocol::kLoginFail) {
        logins.takeBack(client);
    }
    co_return answer;
}

asio::awaitable<Answer> Door::answer(Address client, const CheckedRequest& request) {
    Answer answer;
    switch (request.verdict) {
        case CheckedRequest::Verdict::sound:
            if (request.command->isLogin()) {
                co_return co_await logIn_(client, request);
            }
            co_return co_await queue.ask(client, request.text, request.command);
        case CheckedRequest::Verdict::refused:
            answer.reply = co_await queue.refusal(client, request.result);
            break;
        case CheckedRequest::Verdict::noIcon:
            answer.reply.kind = Kind::answered;
            break;
        case CheckedRequest::Verdict::silent:
            answer.reply.kind = Kind::silent;
            break;
    }
    statistics.refuse(Refusal::unsound);
    co_return answer;
}

void Door::record(const Address& client, const CheckedRequest& request, const Answer& answer,
                  AgentQueue::Time start, bool isTaken) {
    const bool isAnswered = answer.reply.kind == Kind::answered;
    if (isAnswered) {
        ++statistics.answered;
    } else if (answer.reply.kind != Kind::silent) {
        statistics.refuse(Refusal::agent);
    }
    const auto total = steady_clock::now() - start;
    statistics.queued.add(answer.queued);
    statistics.atAgent.add(answer.atAgent);
    statistics.total.add(total);
    logRequest({client, request.command == nullptr ? "?" : request.command->name,
                isAnswered ? resultIn(answer.reply.text()) : "no answer", isTaken, answer.queued,
                answer.atAgent, total});
}

}  // namespace gate
