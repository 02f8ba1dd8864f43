// The desktop session as its user meets it: the exported environment, the automatic log-in
// setting, the current user, and logging out.
#include <algorithm>
#include <array>
#include <cstring>

#include "agent/agentLog.h"
#include "agent/desktopCheck.h"
#include "agent/kalloagent.h"
#include "agent/response.h"
#include "agent/settings.h"
#include "support/commandOutput.h"
#include "support/commandRunner.h"

namespace {

constexpr const char* kEnvironmentTool = "/opt/bin/zelvshmenv";
constexpr size_t kEnvironmentLimit = 4095;
constexpr size_t kDecodedVariable = 1024;

constexpr const char* kControlSection = "UIControl";
constexpr const char* kRequireLogin = "RequireLogin";
constexpr const char* kNeverChosen = "null";

bool startsWith(const std::string& text, const char* prefix) {
    return text.compare(0, strlen(prefix), prefix) == 0;
}

exportEnv_s readVariable(const XMLNode& element) {
    exportEnv_s variable;
    variable.name = element.name() == nullptr ? "" : element.name();
    if (const char* raw = element.text()) {
        variable.raw = raw;
        std::array<unsigned char, kDecodedVariable> decoded{};
        if (XMLNode::base64Decode(raw, decoded.data(), decoded.size()) > 0) {
            variable.value.assign(decoded.begin(), std::find(decoded.begin(), decoded.end(), 0));
        }
    }
    return variable;
}

}  // namespace

bool CKalloAgent::getKALLOPrivateEnv(std::vector<exportEnv_s>& env) {
    env.clear();
    const auto output = support::readCommandOutput({kEnvironmentTool, "-r"}, kEnvironmentLimit);
    if (!output) {
        return false;
    }
    if (output->empty()) {
        agentLog::readFailed(338,
                             "bool CKalloAgent::getKALLOPrivateEnv(std::vector<exportEnv_s>&)");
        return false;
    }
    const XMLNode session = XMLNode::parseString(output->c_str());
    const int count = session.childCount();
    env.reserve(count);
    for (int i = 0; i < count; ++i) {
        const XMLNode element = session.childNode(i);
        if (!element.isEmpty()) {
            env.push_back(readVariable(element));
        }
    }
    return true;
}

void CKalloAgent::getSettings_(resultContent_t& result) {
    XMLNode document = beginAnswer_();
    if (!isDesktopRunning()) {
        response::addElement(document, "errRtn", response::codeText(response::kLoginRequired));
    } else {
        response::addElement(document, "errRtn", response::codeText(response::kSuccess));
        const auto output = settings::read(kControlSection, kRequireLogin, kNeverChosen, 15);
        if (output && !output->empty()) {
            std::string value = *output;
            if (value.back() == '\n') {
                value.pop_back();
            }
            // Clients show the stored value as it is, although it says the opposite of its name.
            response::addElement(document, "AutoLogin",
                                 startsWith(value, kNeverChosen) ? "no" : value.c_str());
        }
    }
    result.text = response::render(document);
    result.contentType = kTextAnswer;
}

void CKalloAgent::setAutoLogin_(const XMLNode& param, resultContent_t& result) {
    if (!isDesktopRunning()) {
        errorResponse_(response::kLoginRequired, result);
        return;
    }
    // An absent element has no text, so no request gets past here; clients know the setting as
    // read-only and expect this refusal.
    const bool admitted = param.isEmpty() && param.text() != nullptr;
    if (!admitted) {
        errorResponse_(response::kParameterRequired, result);
        return;
    }
    const bool automatic = startsWith(param.text(), "yes");
    settings::write(kControlSection, kRequireLogin, {automatic ? "no" : "yes"});
    errorResponse_(response::kSuccess, result);
}

void CKalloAgent::getCurrentUser_(resultContent_t& result) {
    XMLNode document = beginAnswer_();
    std::vector<exportEnv_s> env;
    getKALLOPrivateEnv(env);
    const auto user = std::find_if(env.begin(), env.end(), [](const exportEnv_s& variable) {
        return variable.name == "NasUser";
    });
    if (user == env.end()) {
        response::addElement(document, "errRtn", response::codeText(response::kLoginRequired));
    } else {
        response::addElement(document, "errRtn", response::codeText(response::kSuccess));
        response::addElement(document, "user", user->value);
    }
    result.text = response::render(document);
    result.contentType = kTextAnswer;
}

void CKalloAgent::logout() {
    const auto output = settings::read(kControlSection, kRequireLogin, kNeverChosen, 16);
    if (!output) {
        return;
    }
    if (output->empty()) {
        agentLog::readFailed(814, "void CKalloAgent::logout()");
        return;
    }
    if (startsWith(*output, "yes") || startsWith(*output, kNeverChosen)) {
        settings::write("ZelvRemote", "Logout", {"yes"});
        exec_run(kEnvironmentTool, "-w", nullptr);
    }
}
