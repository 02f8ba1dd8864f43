// Requests to the agent, as documents: whoever talks to it builds its question here. How the text
// travels is the caller's business.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace companion {

/// Returns the request for `command` (see support/protocol.h) with its `parameters` in order: one
/// line of XML, texts escaped. It has to go out in one write. The agent reads no further than
/// protocol::kRequestLimit bytes; a longer text is the caller's to refuse. Any thread.
std::string requestText(const char* command, const std::vector<std::string>& parameters = {});

/// The command of a request, by the agent's own reading of it; empty when the text is no request.
std::string commandOf(const std::string& request);

/// Whether `command` is one of those that the agent carries out without a byte of an answer: it
/// closes the connection when it is done.
bool isUnanswered(std::string_view command) noexcept;

}  // namespace companion
