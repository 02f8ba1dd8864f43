// The desktop session as its user meets it: the exported environment, the automatic log-in
// setting, the current user, and logging out.
#include <algorithm>
#include <array>
#include <string_view>

#include "agent/desktopCheck.h"
#include "agent/kalloagent.h"
#include "agent/logSources.h"
#include "agent/response.h"
#include "agent/settings.h"
#include "support/commandOutput.h"
#include "support/commandRunner.h"
#include "support/protocol.h"
#include "support/serverPaths.h"

namespace {

constexpr size_t kEnvironmentLimit = 4095;
constexpr size_t kDecodedVariable = 1024;

constexpr const char* kControlSection = "UIControl";
constexpr const char* kRequireLogin = "RequireLogin";
constexpr const char* kNeverChosen = "null";

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
    const auto output =
        support::readCommandOutput({server::kEnvironmentTool, "-r"}, kEnvironmentLimit);
    if (!output) {
        return false;
    }
    if (output->empty()) {
        logSources::logFailed(logSources::kSessionEnvironment, "fread");
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
        response::addResult(document, protocol::loginRequired);
    } else {
        response::addResult(document, protocol::success);
        const auto output = settings::read(kControlSection, kRequireLogin, kNeverChosen, 15);
        if (output && !output->empty()) {
            std::string value = *output;
            if (value.back() == '\n') {
                value.pop_back();
            }
            // Clients show the stored value as it is, although it says the opposite of its name.
            response::addElement(document, protocol::kAutoLoginElement,
                                 value.starts_with(kNeverChosen) ? "no" : value);
        }
    }
    response::finish(document, result);
}

void CKalloAgent::setAutoLogin_(const XMLNode& param, resultContent_t& result) {
    if (!isDesktopRunning()) {
        errorResponse_(protocol::loginRequired, result);
        return;
    }
    // An absent element has no text, so no request gets past here; clients know the setting as
    // read-only and expect this refusal.
    const bool admitted = param.isEmpty() && param.text() != nullptr;
    if (!admitted) {
        errorResponse_(protocol::parameterRequired, result);
        return;
    }
    const bool automatic = std::string_view(param.text()).starts_with("yes");
    settings::write(kControlSection, kRequireLogin, {automatic ? "no" : "yes"});
    errorResponse_(protocol::success, result);
}

void CKalloAgent::getCurrentUser_(resultContent_t& result) {
    XMLNode document = beginAnswer_();
    std::vector<exportEnv_s> env;
    getKALLOPrivateEnv(env);
    const auto user = std::ranges::find(env, "NasUser", &exportEnv_s::name);
    if (user == env.end()) {
        response::addResult(document, protocol::loginRequired);
    } else {
        response::addResult(document, protocol::success);
        response::addElement(document, protocol::kUserElement, user->value);
    }
    response::finish(document, result);
}

void CKalloAgent::logout() {
    const auto output = settings::read(kControlSection, kRequireLogin, kNeverChosen, 16);
    if (!output) {
        return;
    }
    if (output->empty()) {
        logSources::logFailed(logSources::kLogout, "fread");
        return;
    }
    if (output->starts_with("yes") || output->starts_with(kNeverChosen)) {
        settings::write("ZelvRemote", "Logout", {"yes"});
        exec_run(server::kEnvironmentTool, "-w", nullptr);
    }
}
