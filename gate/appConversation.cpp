#include "gate/appConversation.h"

#include <algorithm>
#include <array>
#include <boost/asio/as_tuple.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>

#include "companion/announcement.h"
#include "gate/deadline.h"
#include "gate/log.h"
#include "gate/requestCheck.h"
#include "support/protocol.h"

namespace gate {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using std::chrono::seconds;
using std::chrono::steady_clock;
using Kind = AgentReply::Kind;
using SocketDeadline = Deadline<tcp::socket>;

constexpr auto kResult = asio::as_tuple(asio::use_awaitable);
/// How long a client that has been answered may take to close its end.
constexpr seconds kGoodbye{2};

/// Reads until the request is whole, the client has said all, or its time is over.
asio::awaitable<std::string> readRequest(tcp::socket& socket, seconds limit) {
    SocketDeadline deadline(socket, SocketDeadline::Ending::cancel);
    deadline.extend(limit);
    std::array<char, protocol::kRequestLimit> buffer;
    size_t length = 0;
    while (length < buffer.size() && !deadline.isOver() &&
           !isWholeRequest({buffer.data(), length})) {
        const auto [error, count] = co_await socket.async_read_some(
            asio::buffer(buffer.data() + length, buffer.size() - length), kResult);
        const bool isOver = error == asio::error::operation_aborted && socket.is_open();
        if (error && !isOver && error != asio::error::eof) {
            co_return std::string();  // the client is gone, or the gate ends
        }
        length += count;
        if (error) {
            break;
        }
    }
    co_return std::string(buffer.data(), length);
}

/// The result that a document of the agent tells, one of the fixed texts; the number of bytes of
/// what tells none.
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
asio::awaitable<Answer> logIn(Door& door, Address client, const CheckedRequest& request) {
    door.logins.limit(door.settings.failuresOfAnAddress, door.settings.failuresOfAll);
    if (!door.logins.admit(client, steady_clock::now())) {
        door.statistics.refuse(Refusal::logins);
        Answer refused;
        refused.reply = co_await door.queue.refusal(client, protocol::kLoginFail);
        co_return refused;
    }
    Answer answer = co_await door.queue.ask(client, request.text, request.command);
    const std::string result = resultIn(answer.reply.text());
    if (result == protocol::kLoginSuccess) {
        door.logins.succeeded(client);
    } else if (result != protocol::kLoginFail) {
        door.logins.takeBack(client);
    }
    co_return answer;
}

asio::awaitable<Answer> answerTo(Door& door, Address client, const CheckedRequest& request) {
    Answer answer;
    switch (request.verdict) {
        case CheckedRequest::Verdict::sound:
            if (request.command->isLogin()) {
                co_return co_await logIn(door, client, request);
            }
            co_return co_await door.queue.ask(client, request.text, request.command);
        case CheckedRequest::Verdict::refused:
            answer.reply = co_await door.queue.refusal(client, request.result);
            break;
        case CheckedRequest::Verdict::noIcon:
            answer.reply.kind = Kind::answered;
            break;
        case CheckedRequest::Verdict::silent:
            answer.reply.kind = Kind::silent;
            break;
    }
    door.statistics.refuse(Refusal::unsound);
    co_return answer;
}

/// What came behind the request is no go-ahead: many apps end it with a line feed of its own. Read
/// once: whoever sends without end does not keep the gate here.
void dropWhatCame(tcp::socket& socket) {
    std::array<char, 4096> buffer;
    boost::system::error_code error;
    if (socket.available(error) > 0 && !error) {
        socket.read_some(asio::buffer(buffer), error);
    }
}

/// Announces, waits for the go-ahead and gives the payload. Returns whether the client took it all.
asio::awaitable<bool> give(tcp::socket& socket, const std::string& payload, seconds silence) {
    SocketDeadline deadline(socket);
    deadline.extend(silence);
    dropWhatCame(socket);
    const std::string announcement = companion::announcementText(payload.size());
    const auto [refused, announced] =
        co_await asio::async_write(socket, asio::buffer(announcement), kResult);
    if (refused) {
        co_return false;
    }
    std::array<char, protocol::kRequestLimit> goAhead;
    const auto [left, came] = co_await socket.async_read_some(asio::buffer(goAhead), kResult);
    if (left) {
        co_return payload.empty();  // nothing is left to be taken
    }
    for (size_t given = 0; given < payload.size();) {
        deadline.extend(silence);
        const auto [error, count] = co_await socket.async_write_some(
            asio::buffer(payload.data() + given, payload.size() - given), kResult);
        if (error) {
            co_return false;
        }
        given += count;
    }
    co_return true;
}

/// Closes so that nothing of the answer is lost: a close over unread bytes would be a reset.
asio::awaitable<void> close(tcp::socket& socket) {
    boost::system::error_code error;
    socket.shutdown(tcp::socket::shutdown_send, error);
    SocketDeadline deadline(socket);
    deadline.extend(kGoodbye);
    std::array<char, 4096> buffer;
    while (!error) {
        const auto [ended, count] = co_await socket.async_read_some(asio::buffer(buffer), kResult);
        error = ended;
    }
}

}  // namespace

asio::awaitable<void> converse(Door& door, Connection& connection) {
    const seconds requestLimit(door.settings.requestSeconds);
    const std::string bytes = co_await readRequest(connection.socket, requestLimit);
    connection.isAsking = false;
    if (bytes.empty()) {
        door.statistics.refuse(Refusal::silence);
        co_return;
    }
    const auto start = steady_clock::now();
    const CheckedRequest request = checkRequest(bytes);
    const Answer answer = co_await answerTo(door, connection.address, request);
    bool isTaken = answer.reply.kind == Kind::silent;
    if (answer.reply.kind == Kind::answered) {
        const seconds silence(door.settings.silenceSeconds);
        isTaken = co_await give(connection.socket, answer.reply.text(), silence);
        ++door.statistics.answered;
    } else if (answer.reply.kind != Kind::silent) {
        door.statistics.refuse(Refusal::agent);
    }
    const auto total = steady_clock::now() - start;
    door.statistics.queued.add(answer.queued);
    door.statistics.atAgent.add(answer.atAgent);
    door.statistics.total.add(total);
    const bool isAnswered = answer.reply.kind == Kind::answered;
    logRequest({connection.address, request.command == nullptr ? "?" : request.command->name,
                isAnswered ? resultIn(answer.reply.text()) : "no answer", isTaken, answer.queued,
                answer.atAgent, total});
    co_await close(connection.socket);
}

}  // namespace gate
