// One connection from its single request to its close; the same for client apps and for programs
// on this machine.
#include <cerrno>
#include <cstdlib>
#include <cstring>

#include "agent/agentLog.h"
#include "agent/kalloagent.h"
#include "agent/response.h"

using agentLog::at;
using agentLog::Colour;
using support::logLine;

namespace {

// The most that is read of a request or of a go-ahead; what lies behind it is never looked at.
constexpr size_t kReadLimit = 4096;

}  // namespace

int CKalloAgent::converse_(std::unique_ptr<corex::Socket>& connection, const char* function,
                           Dispatch dispatch) {
    char request[kReadLimit + 1] = {};
    resultContent_t result;
    const ssize_t count = connection->Read(request, kReadLimit);
    if (count == 0) {
        logLine(Colour::error, at(__LINE__, function), "No Data can be read\n");
    } else if (count < 0) {
        logLine(Colour::error, at(__LINE__, function), "Connection has been closed\n");
    } else {
        logLine(Colour::request, at(__LINE__, function), "\nCOMMAND:%s\n", request);
        serve_(request, dispatch, result);
        logLine(Colour::resultType, at(__LINE__, function), "resultContent.contentType:%d\n",
                result.contentType);
        if (result.contentType != kNoAnswer) {
            ackToClient_(result, connection);
        }
    }
    logLine(Colour::closing, at(__LINE__, function), ">>> Socket close!!\n");
    free(result.data);
    return static_cast<int>(count);
}

void CKalloAgent::serve_(const char* text, Dispatch dispatch, resultContent_t& result) {
    const XMLNode request = XMLNode::parseString(text, response::kRootElement);
    const char* command = request.childNode("cmd").text();
    if (command != nullptr) {
        (this->*dispatch)(command, request, result);
    }
}

int CKalloAgent::ackToClient_(const resultContent_t& result,
                              std::unique_ptr<corex::Socket>& connection) {
    constexpr const char* kFunction =
        "int CKalloAgent::ackToClient_(const resultContent_t&, std::unique_ptr<corex::Socket>&)";
    const bool isText = result.contentType == kTextAnswer;
    const size_t length = isText ? result.text.size() : result.dataSize;
    std::string announcement;
    sizeDocument_(length, announcement);
    logLine(Colour::answer, at(__LINE__, kFunction), "\n%s\n", announcement.c_str());
    const ssize_t announced = connection->Write(announcement.data(), announcement.size());
    if (announced < 0) {
        logLine(Colour::error, at(__LINE__, kFunction), "%s\n", strerror(errno));
        return static_cast<int>(announced);
    }
    char goAhead[kReadLimit] = {};
    const ssize_t answered = connection->Read(goAhead, sizeof goAhead);
    if (answered <= 0) {
        return static_cast<int>(answered);
    }
    // A client must not go ahead after an announced size of 0: there is no buffer to write then.
    const void* payload = isText ? static_cast<const void*>(result.text.data()) : result.data;
    return static_cast<int>(connection->Write(payload, length));
}

void CKalloAgent::sizeDocument_(size_t length, std::string& out) {
    out = response::sizeDocument(length);
}

XMLNode CKalloAgent::beginAnswer_() const {
    XMLNode document = response::newDocument();
    response::addKnown(document, "torvik_ver", m_torvikVersion);
    return document;
}

void CKalloAgent::errorResponse_(int code, resultContent_t& result) {
    XMLNode document = response::newDocument();
    response::addElement(document, "torvik_ver", m_torvikVersion);
    response::addElement(document, "errRtn", response::codeText(code));
    result.contentType = kTextAnswer;
    // Clients know these answers without the declaration: the document replaces it.
    result.text = response::kDeclaration;
    result.text = response::render(document);
}
