// The commands of a client app, as a table in the order in which their texts are compared.
#include <array>
#include <cstring>

#include "agent/kalloagent.h"
#include "support/protocol.h"

/// A request on its way to its handler.
struct CKalloAgent::Call {
    const XMLNode& request;
    std::array<XMLNode, 2> params;  ///< the first `param` elements, as many as the command takes
    resultContent_t& result;

    /// The text of a parameter as the log-ins take it; null when it is missing.
    const unsigned char* bytes(size_t number) const {
        return reinterpret_cast<const unsigned char*>(params[number].text());
    }
};

struct CKalloAgent::Command {
    const char* text;
    int parameters;  ///< how many are looked at
    void (*run)(CKalloAgent& agent, const Call& call);
};

using namespace protocol;

const CKalloAgent::Command CKalloAgent::kCommands[] = {
    {kGetStatus, 0, [](Self& agent, const Call& call) { agent.getStatus_(call.result); }},
    {kListVexa, 0, [](Self& agent, const Call& call) { agent.getVEXAList(call.result); }},
    {kGetIcon, 2, [](Self& agent, const Call& call) { agent.getIcon_(call.request, call.result); }},
    {kLaunch, 1, [](Self& agent, const Call& call) { agent.launch_(call.params[0], call.result); }},
    {kKillAll, 0, [](Self& agent, const Call&) { agent.m_vexaManager->stopAll(); }},
    {kGetCurrentUser, 0, [](Self& agent, const Call& call) { agent.getCurrentUser_(call.result); }},
    {kLogin, 2,
     [](Self& agent, const Call& call) { agent.login(call.bytes(0), call.bytes(1), call.result); }},
    {kLogin2, 2,
     [](Self& agent, const Call& call) {
         agent.loginWithoutAES(call.bytes(0), call.bytes(1), call.result);
     }},
    {kLogout, 0, [](Self& agent, const Call&) { agent.logout(); }},
    {kSetAutoLogin, 1,
     [](Self& agent, const Call& call) { agent.setAutoLogin_(call.params[0], call.result); }},
    {kGetKalloSetting, 0, [](Self& agent, const Call& call) { agent.getSettings_(call.result); }},
};

void CKalloAgent::runCommand_(const char* command, const XMLNode& request,
                              resultContent_t& result) {
    for (const Command& known : kCommands) {
        if (strcmp(command, known.text) == 0) {
            Call call{request, {}, result};
            for (int number = 0; number < known.parameters; ++number) {
                call.params[number] = request.childNode(kParameterElement, number);
            }
            known.run(*this, call);
            return;
        }
    }
    errorResponse_(invalidCommand, result);
}
