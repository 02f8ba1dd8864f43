#include "gate/agentClient.h"

#include <algorithm>
#include <array>
#include <boost/asio/as_tuple.hpp>
#include <boost/asio/read.hpp>
#include <boost/asio/this_coro.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/asio/write.hpp>

#include "companion/announcement.h"
#include "gate/deadline.h"

namespace gate {
namespace {

namespace asio = boost::asio;
using asio::ip::tcp;
using State = companion::Announcement::State;

constexpr auto kResult = asio::as_tuple(asio::use_awaitable);

/// Reads the announcement and not a byte more, but for the line feed that ends it.
asio::awaitable<State> readAnnouncement(tcp::socket& socket,
                                        companion::Announcement& announcement) {
    std::array<char, 4096> buffer;
    while (announcement.state() == State::unfinished || announcement.state() == State::sized) {
        const size_t wanted = std::min(buffer.size(), announcement.wanted());
        const auto [error, count] =
            co_await socket.async_read_some(asio::buffer(buffer.data(), wanted), kResult);
        if (error) {
            co_return error == asio::error::eof ? announcement.end() : State::malformed;
        }
        announcement.take({buffer.data(), count});
    }
    co_return announcement.state();
}

asio::awaitable<bool> readPayload(tcp::socket& socket, std::string& payload, uint64_t size) {
    if (size == 0) {
        co_return true;  // a go-ahead would make the agent write what it does not have, and stop it
    }
    const auto [refused, written] =
        co_await asio::async_write(socket, asio::buffer("OK", 2), kResult);
    if (refused) {
        co_return false;
    }
    // It grows as it arrives: an announcement alone takes no memory.
    auto grown = asio::dynamic_buffer(payload, size);
    const auto [error, count] =
        co_await asio::async_read(socket, grown, asio::transfer_exactly(size), kResult);
    co_return !error;
}

}  // namespace

asio::awaitable<AgentReply> askAgent(tcp::endpoint address, const std::string& request,
                                     std::chrono::milliseconds limit) {
    tcp::socket socket(co_await asio::this_coro::executor);
    Deadline deadline(socket);
    deadline.extend(limit);
    AgentReply reply;
    const auto [unreachable] = co_await socket.async_connect(address, kResult);
    if (unreachable) {
        co_return reply;
    }
    reply.kind = AgentReply::Kind::failed;
    const auto [error, written] =
        co_await asio::async_write(socket, asio::buffer(request), kResult);
    if (error) {
        co_return reply;
    }
    companion::Announcement announcement;
    const State state = co_await readAnnouncement(socket, announcement);
    if (state == State::silent) {
        reply.kind = AgentReply::Kind::silent;
    } else if (state == State::whole) {
        std::string payload;
        const bool isWhole = co_await readPayload(socket, payload, announcement.size());
        if (isWhole) {
            reply = AgentReply::answeredWith(std::move(payload));
        }
    }
    co_return reply;
}

}  // namespace gate
