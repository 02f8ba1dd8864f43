// One conversation with the agent, from the request to the last byte of the payload, at the gate's
// own pace.
#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <chrono>
#include <memory>
#include <string>

namespace gate {

struct AgentReply {
    enum class Kind {
        answered,  ///< `payload` is what the client gets
        silent,    ///< the connection was closed without a byte
        failed,    ///< nonsense, an answer cut short, or not in time
        gone       ///< no connection: the request never reached the agent
    };

    Kind kind = Kind::gone;
    /// Shared by all clients that get it; null, which is an empty one, unless answered.
    std::shared_ptr<const std::string> payload{};

    const std::string& text() const {
        static const std::string kNothing;
        return payload ? *payload : kNothing;
    }
    static AgentReply answeredWith(std::string text) {
        return {Kind::answered, std::make_shared<const std::string>(std::move(text))};
    }
};

/// Asks the agent at `address`; `request` is one line of at most protocol::kRequestLimit bytes.
/// After an announced size of 0 no go-ahead is given. Ends within `limit`. The request has to last
/// as long: the caller waits at once.
boost::asio::awaitable<AgentReply> askAgent(boost::asio::ip::tcp::endpoint address,
                                            const std::string& request,
                                            std::chrono::milliseconds limit);

}  // namespace gate
