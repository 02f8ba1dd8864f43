// `kalloctl launch --wait`: the launch of a package until its window is up.
#pragma once

#include <string>

#include "client/arguments.h"

namespace client {

/// Sends `request`, which launches a package, and polls the windows until one is there that was not
/// before, or for arguments.waitSeconds. An agent that goes away meanwhile is waited for. Shows
/// the outcome; returns an ExitStatus.
int launchAndWait(const Arguments& arguments, const std::string& request);

}  // namespace client
