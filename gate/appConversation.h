// One connection of a companion app, from its request to its close, at the app's pace.
#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/asio/ip/tcp.hpp>

#include "gate/agentQueue.h"
#include "gate/loginGuard.h"
#include "gate/settings.h"
#include "gate/statistics.h"

namespace gate {

/// What all conversations share; belongs to one thread.
struct Door {
    Door(boost::asio::io_context& context, const Settings& initial)
        : settings(initial), queue(context, settings) {}

    Settings settings;  ///< may change between any two steps of a conversation
    AgentQueue queue;
    LoginGuard logins;
    Statistics statistics{};
};

/// A connection that the server holds.
struct Connection {
    boost::asio::ip::tcp::socket socket;
    Address address;
    bool isAsking = true;  ///< its request is not whole yet
};

/// Has the conversation and closes the connection. Every request is told in a line of the log.
boost::asio::awaitable<void> converse(Door& door, Connection& connection);

}  // namespace gate
