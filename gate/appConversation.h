// One connection of a companion app, from its request to its close, at the app's pace.
#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/asio/ip/tcp.hpp>

#include "gate/door.h"
#include "gate/places.h"

namespace gate {

/// A connection that the server holds.
struct Connection {
    boost::asio::ip::tcp::socket socket;
    Address address;
    std::unique_ptr<Places<Address>::Place> place;
    bool isAsking = true;  ///< its request is not whole yet
};

/// Has the conversation and closes the connection. Every request is told in a line of the log.
boost::asio::awaitable<void> converse(Door& door, Connection& connection);

}  // namespace gate
