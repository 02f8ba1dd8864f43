// The client protocol: the commands of an app over TCP, as a table, and the one whose answer is
// an image.
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "agent/kalloagent.h"
#include "agent/response.h"

struct CKalloAgent::Command {
    const char* text;
    void (*run)(CKalloAgent& agent, const XMLNode& request, resultContent_t& result);
};

namespace {

XMLNode param(const XMLNode& request, int number) {
    return request.childNode("param", number);
}

const unsigned char* paramBytes(const XMLNode& request, int number) {
    return reinterpret_cast<const unsigned char*>(param(request, number).text());
}

/// Reads an image file whole into `result`, which is left without data when there is none.
void readImage(const std::string& path, resultContent_t& result) {
    // Not blocking, so that a pipe under an icon's name holds nobody up.
    const int fd = path.empty() ? -1 : open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    struct stat status {};
    FILE* file = fd < 0 ? nullptr : fdopen(fd, "rb");
    if (file == nullptr) {
        return;
    }
    if (fstat(fd, &status) == 0 && S_ISREG(status.st_mode) && status.st_size > 0) {
        const auto size = static_cast<size_t>(status.st_size);
        result.data = static_cast<unsigned char*>(calloc(size, 1));
        if (result.data != nullptr) {
            result.dataSize = size;
            [[maybe_unused]] const size_t got = fread(result.data, 1, size, file);
        }
    }
    fclose(file);
}

}  // namespace

// In the order in which texts are compared.
const CKalloAgent::Command CKalloAgent::kCommands[] = {
    {"GetStatus",
     [](CKalloAgent& agent, const XMLNode&, resultContent_t& result) { agent.getStatus_(result); }},
    {"ListVEXA", [](CKalloAgent& agent, const XMLNode&,
                    resultContent_t& result) { agent.getVEXAList(result); }},
    {"GetIcon", [](CKalloAgent& agent, const XMLNode& request,
                   resultContent_t& result) { agent.getIcon_(request, result); }},
    {"Launch", [](CKalloAgent& agent, const XMLNode& request,
                  resultContent_t& result) { agent.launch_(param(request, 0), result); }},
    {"KillAll",
     [](CKalloAgent& agent, const XMLNode&, resultContent_t&) { agent.m_vexaManager->stopAll(); }},
    {"GetCurrentUser", [](CKalloAgent& agent, const XMLNode&,
                          resultContent_t& result) { agent.getCurrentUser_(result); }},
    {"Login",
     [](CKalloAgent& agent, const XMLNode& request, resultContent_t& result) {
         agent.login(paramBytes(request, 0), paramBytes(request, 1), result);
     }},
    {"Login2",
     [](CKalloAgent& agent, const XMLNode& request, resultContent_t& result) {
         agent.loginWithoutAES(paramBytes(request, 0), paramBytes(request, 1), result);
     }},
    {"Logout", [](CKalloAgent& agent, const XMLNode&, resultContent_t&) { agent.logout(); }},
    {"SetAutoLogin",
     [](CKalloAgent& agent, const XMLNode& request, resultContent_t& result) {
         agent.setAutoLogin_(param(request, 0), result);
     }},
    {"GetKALLOSetting", [](CKalloAgent& agent, const XMLNode&,
                           resultContent_t& result) { agent.getSettings_(result); }},
};

int CKalloAgent::tcpProcess_(std::unique_ptr<corex::Socket> connection) {
    return converse_(connection, "int CKalloAgent::tcpProcess_(std::unique_ptr<corex::Socket>)",
                     &CKalloAgent::dispatchCommand_);
}

void CKalloAgent::dispatchCommand_(const char* command, const XMLNode& request,
                                   resultContent_t& result) {
    for (const Command& known : kCommands) {
        if (strcmp(command, known.text) == 0) {
            known.run(*this, request, result);
            return;
        }
    }
    errorResponse_(response::kInvalidCommand, result);
}

void CKalloAgent::getIcon_(const XMLNode& request, resultContent_t& result) {
    result.contentType = kBinaryAnswer;
    result.dataSize = 0;
    const char* name = param(request, 0).text();
    const XMLNode kind = param(request, 1);
    if (name == nullptr || kind.isEmpty()) {
        return;
    }
    const PackageListPtr packages = m_vexaManager->packages();
    const PackageRecord* package = findPackage(*packages, name);
    const std::string device = kind.text() == nullptr ? "" : kind.text();
    if (package == nullptr) {
        return;
    }
    if (device == "phone") {
        readImage(package->phoneIcon, result);
    } else if (device == "pad") {
        readImage(package->padIcon, result);
    }
}
