#include "client/ask.h"

#include <utility>

#include "client/output.h"
#include "companion/answer.h"
#include "support/protocol.h"

namespace client {

Answer askDocument(Connection connection, const std::string& request) {
    if (!connection.socket) {
        return {Reply::failure, {}, connection.error};
    }
    Conversation conversation(std::move(connection.socket));
    const Reply reply = conversation.ask(request);
    if (reply == Reply::silence) {
        return {reply, {}, kSilence};
    }
    std::string payload;
    if (reply == Reply::failure || !conversation.receive(payload)) {
        return {Reply::failure, {}, conversation.error()};
    }
    XMLNode document = companion::parseDocument(payload);
    if (document.isEmpty()) {
        return {Reply::failure,
                {},
                std::string("the agent's answer is no ") + protocol::kRootElement + " document"};
    }
    return {Reply::answered, std::move(document)};
}

Answer askAgent(const Arguments& arguments, const std::string& request) {
    Answer answer = askDocument(connectAgent(arguments), request);
    if (answer.reply != Reply::answered) {
        complain(answer.error);
    }
    return answer;
}

}  // namespace client
