// Subcommand raw: any request, and the bytes that come back for it.
#include <nlohmann/json.hpp>

#include "client/commands.h"
#include "client/connection.h"
#include "client/conversation.h"
#include "client/input.h"
#include "client/output.h"
#include "companion/request.h"
#include "support/base64.h"
#include "support/protocol.h"
#include "support/utf8.h"

namespace client {
namespace {

std::optional<std::string> takeRequest(const Arguments& arguments) {
    auto request = arguments.request != "-" ? arguments.request
                                            : readStandardInput(protocol::kRequestLimit + 1);
    if (!request) {
        complain("standard input cannot be read");
        return std::nullopt;
    }
    if (request->empty() || request->size() > protocol::kRequestLimit) {
        complain("a request has 1 to " + std::to_string(protocol::kRequestLimit) +
                 " bytes; the agent reads no further");
        return std::nullopt;
    }
    return request;
}

void show(const Arguments& arguments, const std::string& announcement, const std::string& payload) {
    if (!arguments.json) {
        printForeign(announcement);
        printForeign(payload);
        return;
    }
    nlohmann::ordered_json value = {{"announcement", announcement}, {"size", payload.size()}};
    if (support::isUtf8(payload)) {
        value["payload"] = payload;
    } else {
        value["payload_base64"] = support::base64Encode(payload);
    }
    printJson(value, true);
}

int endInSilence(const std::string& request) {
    if (companion::isUnanswered(companion::commandOf(request))) {
        return exitDone;
    }
    complain(kSilence);
    return exitFailed;
}

}  // namespace

int runRaw(const Arguments& arguments) {
    const auto request = takeRequest(arguments);
    if (!request) {
        return exitUsage;
    }
    Connection connection =
        arguments.local ? connectLocalChannel(arguments) : connectAgent(arguments);
    if (!connection.socket) {
        complain(connection.error);
        return exitFailed;
    }
    Conversation conversation(std::move(connection.socket));
    const Reply reply = conversation.ask(*request);
    if (reply == Reply::silence) {
        return endInSilence(*request);
    }
    std::string payload;
    if (reply == Reply::failure || !conversation.receive(payload)) {
        complain(conversation.error());
        return exitFailed;
    }
    show(arguments, conversation.announcement(), payload);
    return exitDone;
}

}  // namespace client
