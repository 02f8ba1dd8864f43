#include <avahi-client/client.h>
#include <avahi-client/lookup.h>
#include <avahi-common/error.h>
#include <avahi-common/simple-watch.h>

#include <algorithm>
#include <chrono>
#include <memory>

#include "client/discover.h"

namespace client {
namespace {

using Clock = std::chrono::steady_clock;
constexpr const char* kServiceType = "_kalloagent._tcp";
constexpr auto kAnyFlags = static_cast<AvahiLookupFlags>(0);

struct Closer {
    void operator()(AvahiSimplePoll* poll) const { avahi_simple_poll_free(poll); }
    void operator()(AvahiClient* client) const { avahi_client_free(client); }
};

/// What the callbacks share. The library calls them on this thread, from the loop.
struct Search {
    AvahiClient* client = nullptr;
    std::vector<Server>* servers = nullptr;
    int unresolved = 0;
    bool isListWhole = false;
    bool hasFailed = false;
};

void onClientState(AvahiClient* /*client*/, AvahiClientState state, void* data) {
    static_cast<Search*>(data)->hasFailed = state == AVAHI_CLIENT_FAILURE;
}

void onResolved(AvahiServiceResolver* resolver, AvahiIfIndex /*interface*/,
                AvahiProtocol /*protocol*/, AvahiResolverEvent event, const char* name,
                const char* /*type*/, const char* /*domain*/, const char* host,
                const AvahiAddress* address, uint16_t port, AvahiStringList* /*texts*/,
                AvahiLookupResultFlags /*flags*/, void* data) {
    auto& search = *static_cast<Search*>(data);
    --search.unresolved;
    if (event == AVAHI_RESOLVER_FOUND) {
        char text[AVAHI_ADDRESS_STR_MAX] = "";
        avahi_address_snprint(text, sizeof text, address);
        const Server server = {name, host, text, port};
        // A server is announced on each of its networks.
        if (std::ranges::find(*search.servers, server) == search.servers->end()) {
            search.servers->push_back(server);
        }
    }
    avahi_service_resolver_free(resolver);
}

void onBrowsed(AvahiServiceBrowser* /*browser*/, AvahiIfIndex interface, AvahiProtocol protocol,
               AvahiBrowserEvent event, const char* name, const char* type, const char* domain,
               AvahiLookupResultFlags /*flags*/, void* data) {
    auto& search = *static_cast<Search*>(data);
    search.isListWhole = search.isListWhole || event == AVAHI_BROWSER_ALL_FOR_NOW;
    search.hasFailed = search.hasFailed || event == AVAHI_BROWSER_FAILURE;
    if (event == AVAHI_BROWSER_NEW &&
        avahi_service_resolver_new(search.client, interface, protocol, name, type, domain,
                                   AVAHI_PROTO_INET, kAnyFlags, onResolved, data) != nullptr) {
        ++search.unresolved;
    }
}

}  // namespace

std::string findServers(double seconds, std::vector<Server>& servers) {
    const std::unique_ptr<AvahiSimplePoll, Closer> poll(avahi_simple_poll_new());
    Search search;
    search.servers = &servers;
    int code = 0;
    const std::unique_ptr<AvahiClient, Closer> client(avahi_client_new(
        avahi_simple_poll_get(poll.get()), AvahiClientFlags{}, onClientState, &search, &code));
    if (client == nullptr) {
        return std::string("the Avahi daemon of this machine cannot be asked: ") +
               avahi_strerror(code);
    }
    search.client = client.get();
    // The agent listens on IPv4 alone. The client owns the browser.
    if (avahi_service_browser_new(client.get(), AVAHI_IF_UNSPEC, AVAHI_PROTO_INET, kServiceType,
                                  nullptr, kAnyFlags, onBrowsed, &search) == nullptr) {
        return avahi_strerror(avahi_client_errno(client.get()));
    }
    const auto end = Clock::now() + std::chrono::duration<double>(seconds);
    constexpr int kStepMilliseconds = 100;
    while (!search.hasFailed && !(search.isListWhole && search.unresolved == 0) &&
           Clock::now() < end && avahi_simple_poll_iterate(poll.get(), kStepMilliseconds) == 0) {
    }
    return search.hasFailed ? avahi_strerror(avahi_client_errno(client.get())) : "";
}

}  // namespace client
