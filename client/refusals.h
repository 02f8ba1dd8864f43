// What a refusal means to a person: the agent's word alone says different things to different
// commands.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace client {

/// The sentence for `result`, an answer of the agent to `command` (names of support/protocol.h).
/// `subject` is the package or user that was asked for. Never empty.
std::string refusalText(std::string_view command, std::string_view result,
                        std::string_view subject);

/// The one of `names` that `typed` was probably meant to be: the nearest, letter case aside, if it
/// is a matter of few letters. Empty when there is none, or when `typed` itself is among them.
std::string nearestName(std::string_view typed, const std::vector<std::string>& names);

}  // namespace client
