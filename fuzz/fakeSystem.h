// The server around the agent in the target "request": tools, desktop, accounts, packages and the
// hand-over file, all made up. Linked in place of the sources that would start programs and look
// at the machine.
#pragma once

#include <deque>
#include <string>

namespace fakeSystem {

/// What the agent meets during one request.
struct State {
    bool isDesktopUp = false;
    bool admitsEveryone = false;  ///< every user with every password
    std::string handOver;         ///< content of the hand-over file
    /// What the tools print, in the order in which they are started. "-": this one cannot be
    /// started. "*", and behind the last: what the tool prints on a server in order.
    std::deque<std::string> outputs;
    int started = 0;  ///< programs run and packages started so far
};

State& state();

/// The only icon that can be read: the phone icon of the package "Browser".
inline constexpr char kIcon[] = "\x89PNG\r\n an icon";

}  // namespace fakeSystem
