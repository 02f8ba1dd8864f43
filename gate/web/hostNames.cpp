#include "gate/web/hostNames.h"

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <climits>
#include <cstring>

#include "gate/log.h"

namespace gate {
namespace {

bool isLetterOrDigit(char character) {
    return (character >= 'a' && character <= 'z') || (character >= '0' && character <= '9');
}

/// Other names would not stand in a certificate, nor in an address.
bool isHostName(const std::string& name) {
    return !name.empty() && std::ranges::all_of(name, [](char character) {
        return isLetterOrDigit(character) || character == '-' || character == '.' ||
               character == '_';
    });
}

/// The text of an address that a browser takes; else none.
std::string addressText(const sockaddr* address) {
    std::array<char, INET6_ADDRSTRLEN> text{};
    if (address != nullptr && address->sa_family == AF_INET) {
        const auto* const ipv4 = reinterpret_cast<const sockaddr_in*>(address);
        inet_ntop(AF_INET, &ipv4->sin_addr, text.data(), text.size());
    } else if (address != nullptr && address->sa_family == AF_INET6) {
        const auto* const ipv6 = reinterpret_cast<const sockaddr_in6*>(address);
        if (!IN6_IS_ADDR_LINKLOCAL(&ipv6->sin6_addr)) {
            inet_ntop(AF_INET6, &ipv6->sin6_addr, text.data(), text.size());
        }
    }
    return text.data();
}

bool isIpv6(const std::string& address) {
    return address.find(':') != std::string::npos;
}

void add(std::vector<std::string>& texts, const std::string& text) {
    if (!text.empty() && std::ranges::find(texts, text) == texts.end()) {
        texts.push_back(text);
    }
}

std::vector<std::string> ownAddresses() {
    std::vector<std::string> addresses;
    ifaddrs* found = nullptr;
    if (getifaddrs(&found) == 0) {
        for (const ifaddrs* entry = found; entry != nullptr; entry = entry->ifa_next) {
            if ((entry->ifa_flags & IFF_UP) != 0) {
                add(addresses, addressText(entry->ifa_addr));
            }
        }
        freeifaddrs(found);
    } else {
        logText(std::string("the addresses of this server are not known: ") + strerror(errno));
    }
    add(addresses, "127.0.0.1");
    add(addresses, "::1");
    std::stable_partition(addresses.begin(), addresses.end(),
                          [](const std::string& text) { return !isIpv6(text); });
    return addresses;
}

}  // namespace

std::string HostNames::reachable() const {
    const auto isOutside = [](const std::string& address) {
        return !isIpv6(address) && !address.starts_with("127.");
    };
    const auto found = std::ranges::find_if(addresses, isOutside);
    const auto isLocal = [](const std::string& name) { return name.ends_with(".local"); };
    const auto name = std::ranges::find_if(names, isLocal);
    return found != addresses.end() ? *found : name != names.end() ? *name : names.front();
}

HostNames ownHostNames() {
    std::array<char, HOST_NAME_MAX + 1> buffer{};
    gethostname(buffer.data(), buffer.size() - 1);
    std::string name = buffer.data();
    std::ranges::transform(name, name.begin(), [](char character) {
        return character >= 'A' && character <= 'Z' ? static_cast<char>(character - 'A' + 'a')
                                                    : character;
    });
    HostNames host;
    if (isHostName(name)) {
        const std::string label = name.substr(0, name.find('.'));
        add(host.names, name);
        add(host.names, label);
        add(host.names, label + ".local");
    }
    add(host.names, "localhost");
    host.addresses = ownAddresses();
    return host;
}

}  // namespace gate
