// From a browser's request to a call of the JSON interface: one table says which calls there are
// and what each takes.
#pragma once

#include <string>
#include <variant>

#include "gate/web/http.h"
#include "gate/web/problem.h"

namespace gate {

inline constexpr std::string_view kApiPath = "/api/v1/";

/// A call, with the values that its kind takes; the others are empty.
struct Call {
    enum class Kind {
        pair,
        status,
        packages,
        icon,
        session,
        events,
        launch,
        stopAll,
        login,
        logout
    };

    Kind kind;
    std::string package{};  ///< of icon and launch
    std::string icon{};     ///< its device, "phone" or "pad"
    std::string user{};
    std::string password{};
    std::string code{};
};

/// Whether the target, which begins with kApiPath, is that of a call that pairs a device, sound or
/// not. Any thread.
bool isPairing(const Request& request);

/// Reads a request whose target begins with kApiPath: its method, its target, and for what changes
/// something the type and the members of its body. Any thread.
std::variant<Call, Problem> readCall(const Request& request);

/// `text` with its percent signs resolved (RFC 3986, 2.1); as it is where one is not followed by
/// two digits. Any thread.
std::string percentDecoded(std::string_view text);

}  // namespace gate
