// One connection of a browser: requests, one after the other, or one stream of events.
#pragma once

#include <boost/asio/awaitable.hpp>
#include <boost/beast/core/tcp_stream.hpp>
#include <boost/beast/ssl/ssl_stream.hpp>
#include <string>

#include "gate/places.h"
#include "gate/web/api.h"

namespace gate {

using PlainStream = boost::beast::tcp_stream;
using TlsStream = boost::beast::ssl_stream<PlainStream>;

/// What all browsers' conversations share; belongs to one thread.
struct WebContext {
    Door& door;
    Devices& devices;
    Watcher& watcher;
    Api& api;
    Site site;
    Places<std::string> streams{};  ///< of events, by device
    bool isEnding = false;          ///< each connection ends after what is in work
};

/// A browser's connection, as the door sees it.
struct WebConnection {
    Address client;
    PlainStream* stream;   ///< holds the socket
    bool isAsking = true;  ///< no request of it is in work
};

/// Answers the requests of `stream`, a PlainStream or a TlsStream after its handshake, until either
/// side closes.
template <typename Stream>
boost::asio::awaitable<void> converseWeb(Stream& stream, WebContext& context,
                                         WebConnection& connection);

}  // namespace gate
