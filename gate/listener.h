// Ports that the gate listens on, and the loop that takes what comes.
#pragma once

#include <boost/asio/as_tuple.hpp>
#include <boost/asio/awaitable.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <chrono>

namespace gate {

/// Listens on `port`, of both families, or of IPv4 where the machine has no IPv6. Throws
/// std::runtime_error, with the port in it, when it is taken.
boost::asio::ip::tcp::acceptor listenOn(boost::asio::io_context& context, uint16_t port);

/// Gives every connection to `take` until the acceptor is closed. Where descriptors or memory are
/// lacking it tries again after a pause. Both outlive the coroutine.
template <typename Acceptor, typename Take>
boost::asio::awaitable<void> acceptAll(Acceptor& acceptor, Take take) {
    constexpr auto kResult = boost::asio::as_tuple(boost::asio::use_awaitable);
    constexpr std::chrono::milliseconds kPause{100};
    while (acceptor.is_open()) {
        auto [error, socket] = co_await acceptor.async_accept(kResult);
        if (!error) {
            take(std::move(socket));
            continue;
        }
        boost::asio::steady_timer timer(acceptor.get_executor(), kPause);
        co_await timer.async_wait(kResult);
    }
}

}  // namespace gate
