#include "client/agentAddress.h"

#include <charconv>
#include <string_view>

#include "support/protocol.h"

namespace client {
namespace {

constexpr int kHighestPort = 65535;

struct Address {
    std::string_view host;
    std::string_view port;  ///< with its colon; empty when there is none
};

Address split(std::string_view text) {
    if (text.starts_with('[')) {
        const size_t end = text.find(']');
        return end == std::string_view::npos
                   ? Address{}
                   : Address{text.substr(1, end - 1), text.substr(end + 1)};
    }
    const size_t colon = text.find(':');
    const bool isName = colon != std::string_view::npos && colon == text.rfind(':');
    return isName ? Address{text.substr(0, colon), text.substr(colon)} : Address{text, {}};
}

/// The number behind the colon; 0 when it is no port.
int portOf(std::string_view text) {
    int port = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, code] = std::from_chars(text.data() + 1, end, port);
    const bool isPort = text.front() == ':' && code == std::errc() && stop == end;
    return isPort && port > 0 && port <= kHighestPort ? port : 0;
}

}  // namespace

std::string takeAddress(Arguments& arguments) {
    const std::string text = arguments.host;
    const auto [host, port] = split(text);
    const int number = port.empty() ? protocol::kPort : portOf(port);
    if (host.empty() || number == 0) {
        return "no host, HOST:PORT or [IPV6]:PORT: " + text;
    }
    arguments.host = host;
    arguments.port = arguments.port == 0 ? number : arguments.port;
    return "";
}

}  // namespace client
