// Subcommand raw: any request, and the bytes that come back for it.
#include <nlohmann/json.hpp>

#include "client/commands.h"
#include "client/connection.h"
#include "client/conversation.h"
#include "client/input.h"
#include "client/output.h"
#include "client/protocol.h"
#include "client/safeText.h"
#include "support/base64.h"

namespace client {
namespace {

bool takeRequest(const arguments_t& arguments, std::string& request) {
    if (arguments.request != "-") {
        request = arguments.request;
    } else if (!readStandardInput(requestLimit + 1, request)) {
        complain("standard input cannot be read");
        return false;
    }
    if (request.empty() || request.size() > requestLimit) {
        complain("a request has 1 to " + std::to_string(requestLimit) +
                 " bytes; the agent reads no further");
        return false;
    }
    return true;
}

void show(const arguments_t& arguments, const std::string& announcement,
          const std::string& payload) {
    if (!arguments.json) {
        printForeign(announcement);
        printForeign(payload);
        return;
    }
    nlohmann::ordered_json value = {{"announcement", announcement}, {"size", payload.size()}};
    if (isUtf8(payload)) {
        value["payload"] = payload;
    } else {
        value["payload_base64"] = support::base64Encode(payload);
    }
    printJson(value, true);
}

int endInSilence(const std::string& request) {
    if (isUnanswered(commandOf(request))) {
        return exitDone;
    }
    complain("the agent closed the connection without an answer");
    return exitFailed;
}

}  // namespace

int runRaw(const arguments_t& arguments) {
    std::string request;
    if (!takeRequest(arguments, request)) {
        return exitUsage;
    }
    std::string error;
    auto socket = arguments.local ? connectLocal(localChannelPath,
                                                 millisecondsOf(arguments.timeoutSeconds), error)
                                  : connectAgent(arguments, error);
    if (socket == nullptr) {
        complain(error);
        return exitFailed;
    }
    Conversation conversation(std::move(socket));
    const reply_t reply = conversation.ask(request);
    if (reply == reply_t::silence) {
        return endInSilence(request);
    }
    std::string payload;
    if (reply == reply_t::failure || !conversation.receive(payload)) {
        complain(conversation.error());
        return exitFailed;
    }
    show(arguments, conversation.announcement(), payload);
    return exitDone;
}

}  // namespace client
