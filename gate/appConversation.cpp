#include "gate/appConversation.h"

#include <array>
#include <boost/asio/as_tuple.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>

#include "companion/announcement.h"
#include "gate/deadline.h"
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
    const Answer answer = co_await door.answer(connection.address, request);
    bool isTaken = answer.reply.kind == Kind::silent;
    if (answer.reply.kind == Kind::answered) {
        const seconds silence(door.settings.silenceSeconds);
        isTaken = co_await give(connection.socket, answer.reply.text(), silence);
    }
    door.record(connection.address, request, answer, start, isTaken);
    co_await close(connection.socket);
}

}  // namespace gate
