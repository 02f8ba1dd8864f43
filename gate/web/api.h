// The JSON interface: who may call it, and what each call answers. It asks the agent by the same
// line and the same checks as the companion apps' door.
#pragma once

#include <boost/asio/awaitable.hpp>
#include <string>
#include <variant>

#include "gate/door.h"
#include "gate/web/call.h"
#include "gate/web/devices.h"
#include "gate/web/pairingCodes.h"
#include "gate/web/site.h"
#include "gate/web/watcher.h"

namespace gate {

/// Belongs to the thread of the door's queue.
class Api final {
  public:
    Api(Door& door, Watcher& watcher, Devices& devices, PairingCodes& codes)
        : m_door(door), m_watcher(watcher), m_devices(devices), m_codes(codes) {}

    /// A call that may be carried out.
    struct PairedCall {
        Call call;
        std::string device;  ///< its identifier; empty for a call that pairs one
    };

    /// Reads a request whose target begins with kApiPath. Whoever is not paired is told that and
    /// nothing else.
    std::variant<PairedCall, Problem> admit(const Request& request, const Site& site);

    /// Carries a call out, but for `events`, which is the caller's. `paired` lasts until then.
    boost::asio::awaitable<Response> answer(const Address& client, const PairedCall& paired);

  private:
    boost::asio::awaitable<Response> answerStatus_();
    boost::asio::awaitable<Response> answerSession_();
    boost::asio::awaitable<Response> answerPackages_(Address client);
    boost::asio::awaitable<Response> answerIcon_(Address client, const Call& call);
    boost::asio::awaitable<Response> launch_(Address client, const Call& call);
    boost::asio::awaitable<Response> logIn_(Address client, const Call& call);
    boost::asio::awaitable<Response> carryOut_(Address client, const char* command);
    boost::asio::awaitable<Answer> ask_(Address client, const std::string& request);
    boost::asio::awaitable<Response> pair_(const Call& call);

    Door& m_door;
    Watcher& m_watcher;
    Devices& m_devices;
    PairingCodes& m_codes;
};

}  // namespace gate
