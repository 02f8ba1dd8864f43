// The local channel: one command, which hands the password of the last login to the desktop's own
// tools. Whoever reaches the socket is on this machine, so the password travels as base64 only.
#include <cstring>

#include "agent/credentialBlock.h"
#include "agent/handOver.h"
#include "agent/kalloagent.h"
#include "agent/response.h"
#include "support/base64.h"
#include "support/protocol.h"

namespace {

/// The password that the last login left; empty when there is none.
std::string storedPassword() {
    const std::string text = handOver::load();
    if (text.empty()) {
        return {};
    }
    AesKeys keys{};
    credentialCipher::setKey(keys, credentialCipher::kCredentialKey.data(),
                             static_cast<int>(credentialCipher::kCredentialKey.size()));
    return credentialBlock::decipheredText(keys, text);
}

}  // namespace

void CKalloAgent::runLocalCommand_(const char* command, const XMLNode& /*request*/,
                                   resultContent_t& result) {
    if (strcmp(command, protocol::kGetPassword) == 0) {
        getPassword_(result);
    } else {
        errorResponse_(protocol::invalidCommand, result);
    }
}

void CKalloAgent::getPassword_(resultContent_t& result) {
    const std::string password = storedPassword();
    XMLNode document = response::newDocument();
    response::addElement(document, protocol::kDesktopVersionElement, m_torvikVersion);
    response::addElement(document, protocol::kPasswordElement, support::base64Encode(password));
    response::addElement(
        document, protocol::kResultElement,
        password.empty() ? protocol::kFail : protocol::kResultTexts[protocol::success]);
    response::finish(document, result);
}
