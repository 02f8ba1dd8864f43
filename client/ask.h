// Asking the agent for a document: what every subcommand does that is one command of the protocol.
#pragma once

#include <string>

#include "client/arguments.h"
#include "client/connection.h"
#include "client/conversation.h"
#include "support/xmlParser.h"

namespace client {

/// What came of a request.
struct Answer {
    Reply reply = Reply::failure;
    XMLNode document{};   ///< never empty when answered, be it a refusal
    std::string error{};  ///< why there is no document, for a silence too
};

/// Sends `request` over `connection` and receives the document.
Answer askDocument(Connection connection, const std::string& request);

/// The same over the agent's TCP port; whatever is no answer is complained about.
Answer askAgent(const Arguments& arguments, const std::string& request);

}  // namespace client
