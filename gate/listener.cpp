#include "gate/listener.h"

#include <boost/asio/ip/v6_only.hpp>
#include <stdexcept>
#include <string>

namespace gate {

using boost::asio::ip::tcp;

tcp::acceptor listenOn(boost::asio::io_context& context, uint16_t port) {
    tcp::acceptor acceptor(context);
    boost::system::error_code error;
    acceptor.open(tcp::v6(), error);
    const bool isBoth = !error;
    if (isBoth) {
        acceptor.set_option(boost::asio::ip::v6_only(false));
    } else {
        acceptor.open(tcp::v4());
    }
    acceptor.set_option(tcp::acceptor::reuse_address(true));
    acceptor.bind(tcp::endpoint(isBoth ? tcp::v6() : tcp::v4(), port), error);
    if (!error) {
        acceptor.listen(tcp::acceptor::max_listen_connections, error);
    }
    if (error) {
        throw std::runtime_error("port " + std::to_string(port) + ": " + error.message());
    }
    return acceptor;
}

}  // namespace gate
