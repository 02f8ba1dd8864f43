#include "gate/networks.h"

#include <algorithm>
#include <charconv>

namespace gate {
namespace {

/// Whether the first `bits` bits of two addresses of one family are the same.
template <typename Bytes>
bool beginsAlike(const Bytes& left, const Bytes& right, unsigned bits) {
    const unsigned whole = bits / 8;
    if (!std::equal(left.begin(), left.begin() + whole, right.begin())) {
        return false;
    }
    const unsigned rest = bits % 8;
    return rest == 0 || (left[whole] ^ right[whole]) >> (8 - rest) == 0;
}

}  // namespace

Address plainAddress(const Address& address) {
    return address.is_v6() && address.to_v6().is_v4_mapped()
               ? make_address_v4(boost::asio::ip::v4_mapped, address.to_v6())
               : address;
}

std::optional<Network> Network::parse(const std::string& text) {
    const size_t slash = text.find('/');
    boost::system::error_code error;
    const Address address = boost::asio::ip::make_address(text.substr(0, slash), error);
    if (error) {
        return std::nullopt;
    }
    const unsigned longest = address.is_v4() ? 32 : 128;
    unsigned prefix = longest;
    if (slash != std::string::npos) {
        const char* const end = text.data() + text.size();
        const auto [stop, code] = std::from_chars(text.data() + slash + 1, end, prefix);
        if (code != std::errc() || stop != end || prefix > longest) {
            return std::nullopt;
        }
    }
    return Network(address, prefix);
}

bool Network::holds(const Address& address) const {
    if (address.is_v4() != m_address.is_v4()) {
        return false;
    }
    return address.is_v4()
               ? beginsAlike(address.to_v4().to_bytes(), m_address.to_v4().to_bytes(), m_prefix)
               : beginsAlike(address.to_v6().to_bytes(), m_address.to_v6().to_bytes(), m_prefix);
}

std::vector<Network> householdNetworks() {
    std::vector<Network> networks;
    for (const char* text : {"127.0.0.0/8", "::1", "10.0.0.0/8", "172.16.0.0/12", "192.168.0.0/16",
                             "169.254.0.0/16", "fe80::/10", "fc00::/7"}) {
        networks.push_back(*Network::parse(text));
    }
    return networks;
}

}  // namespace gate
