// Where the agent is, as a person writes it.
#pragma once

#include <string>

#include "client/arguments.h"

namespace client {

/// Takes the host of `arguments` apart, which may be NAME, NAME:PORT, an IPv6 address, or one in
/// brackets with or without ":PORT", into its host and port; a port that was given by an option of
/// its own stays. What nobody gave gets its default. Returns what is wrong with the host; empty
/// when nothing is.
std::string takeAddress(Arguments& arguments);

}  // namespace client
