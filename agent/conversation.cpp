// One connection from its single request to its close; the same for client apps and for programs
// on this machine.
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "agent/kalloagent.h"
#include "agent/logSources.h"
#include "agent/patience.h"
#include "support/protocol.h"

using logSources::here;
using support::Colour;
using support::logLine;

namespace {

/// Reads once. A process that was stopped and goes on meets EINTR in a read that has a time limit
/// (signal(7)); that is no end of the connection.
ssize_t readOnce(corex::Socket& socket, char* buffer, size_t size) {
    ssize_t count = 0;
    do {
        count = socket.Read(buffer, size);
    } while (count < 0 && errno == EINTR);
    return count;
}

}  // namespace

int CKalloAgent::tcpProcess_(std::unique_ptr<corex::Socket> connection) {
    return converse_(connection, "int CKalloAgent::tcpProcess_(std::unique_ptr<corex::Socket>)",
                     &CKalloAgent::runCommand_);
}

int CKalloAgent::unixIpcProcess_(std::unique_ptr<corex::Socket> connection) {
    return converse_(connection, "int CKalloAgent::unixIpcProcess_(std::unique_ptr<corex::Socket>)",
                     &CKalloAgent::runLocalCommand_);
}

int CKalloAgent::converse_(std::unique_ptr<corex::Socket>& connection, const char* function,
                           Respond respond) {
    char text[protocol::kRequestLimit + 1]{};
    resultContent_t result;
    patience::limitWaiting(connection->GetSocket());
    // Once, and nothing behind it is ever looked at: apps send a request in one segment.
    const ssize_t count = readOnce(*connection, text, protocol::kRequestLimit);
    if (count == 0) {
        logLine(Colour::error, here(function), "No Data can be read\n");
    } else if (count < 0) {
        logLine(Colour::error, here(function), "Connection has been closed\n");
    } else {
        logLine(Colour::request, here(function), "\nCOMMAND:%s\n", text);
        const XMLNode request = XMLNode::parseString(text, protocol::kRootElement);
        const char* const command = request.childNode(protocol::kCommandElement).text();
        if (command != nullptr) {
            (this->*respond)(command, request, result);
        }
        logLine(Colour::resultType, here(function), "resultContent.contentType:%d\n",
                result.contentType);
        if (result.contentType != noAnswer) {
            ackToClient_(result, connection);
        }
    }
    patience::limitSending(connection->GetSocket());  // closing waits for what is still unsent
    logLine(Colour::closing, here(function), ">>> Socket close!!\n");
    free(result.data);
    return static_cast<int>(count);
}

int CKalloAgent::ackToClient_(const resultContent_t& result,
                              std::unique_ptr<corex::Socket>& connection) {
    constexpr const char* kFunction =
        "int CKalloAgent::ackToClient_(const resultContent_t&, std::unique_ptr<corex::Socket>&)";
    const bool isText = result.contentType == textAnswer;
    const size_t length = isText ? result.text.size() : result.dataSize;
    std::string announcement;
    sizeDocument_(length, announcement);
    logLine(Colour::answer, here(kFunction), "\n%s\n", announcement.c_str());
    const ssize_t announced = connection->Write(announcement.data(), announcement.size());
    if (announced < 0) {
        logLine(Colour::error, here(kFunction), "%s\n", strerror(errno));
        return static_cast<int>(announced);
    }
    char goAhead[protocol::kRequestLimit]{};
    const ssize_t answered = readOnce(*connection, goAhead, sizeof goAhead);
    if (answered <= 0) {
        return static_cast<int>(answered);
    }
    // A client must not go ahead after an announced size of 0: there is no buffer to write then.
    patience::limitSending(connection->GetSocket());
    const void* payload = isText ? static_cast<const void*>(result.text.data()) : result.data;
    return static_cast<int>(connection->Write(payload, length));
}
