#include "gate/web/site.h"

#include <algorithm>
#include <boost/asio/ip/address.hpp>
#include <boost/beast/core/string.hpp>

namespace gate {
namespace {

/// The host of "host", "host:port" or "[address]:port"; empty when it is none of them.
std::string hostOf(std::string_view text) {
    const bool isBracketed = text.starts_with('[');
    const size_t end = isBracketed ? text.find(']') : text.find(':');
    const std::string_view host = text.substr(isBracketed, end - isBracketed);
    const std::string_view rest =
        end == std::string_view::npos ? "" : text.substr(end + (isBracketed ? 1 : 0));
    const bool isPort = rest.size() > 1 && rest[0] == ':' &&
                        rest.find_first_not_of("0123456789", 1) == std::string_view::npos;
    const bool isUnclosed = isBracketed && end == std::string_view::npos;
    return (rest.empty() || isPort) && !isUnclosed ? std::string(host) : "";
}

}  // namespace

bool Site::isOwnHost(std::string_view host) const {
    std::string name = hostOf(host);
    boost::system::error_code error;
    boost::asio::ip::make_address(name, error);
    if (!error) {
        return true;
    }
    if (name.ends_with('.')) {
        name.pop_back();  // the full name of the domain system
    }
    const auto isName = [&](const std::string& own) { return boost::beast::iequals(own, name); };
    return isName("localhost") || std::ranges::any_of(m_names, isName);
}

bool Site::isOwnOrigin(std::string_view origin, std::string_view host) const {
    const auto isAt = [&](std::string_view scheme) {
        return origin.starts_with(scheme) &&
               boost::beast::iequals(origin.substr(scheme.size()), host);
    };
    return isAt("https://") || (m_isPlain && isAt("http://"));
}

}  // namespace gate
