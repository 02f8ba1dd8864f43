#include "companion/credential.h"

#include "accounts/credentialCipher.h"
#include "companion/request.h"
#include "support/base64.h"
#include "support/protocol.h"

namespace companion {
namespace {

constexpr char kFiller = '\xFF';

// The agent reads 63 bytes of an enciphered block, which spoils its last 16, and needs one filler
// byte before those. A plain password's base64 text has to fit 64 characters.
constexpr size_t longest(CredentialForm form) {
    switch (form) {
        case CredentialForm::enciphered:
            return 47;
        case CredentialForm::plainUser:
            return 63;
        case CredentialForm::plainPassword:
            return 48;
    }
    return 0;
}

const AesKeys& sharedKeys() {
    static const AesKeys kKeys = [] {
        AesKeys keys{};
        credentialCipher::setKey(keys, credentialCipher::kCredentialKey.data(),
                                 credentialCipher::kCredentialKey.size());
        return keys;
    }();
    return kKeys;
}

std::string encipheredText(const std::string& value) {
    std::string block = value;
    block.resize(credentialCipher::kCredentialBlockSize, kFiller);
    auto* const bytes = reinterpret_cast<unsigned char*>(block.data());
    credentialCipher::encrypt(sharedKeys(), block.size(), bytes, bytes);
    return support::base64Encode(block);
}

}  // namespace

std::string credentialFault(const std::string& value, CredentialForm form) {
    if (value.empty()) {
        return "is empty";
    }
    if (value.size() > longest(form)) {
        return "has " + std::to_string(value.size()) + " bytes; at most " +
               std::to_string(longest(form)) + " come through";
    }
    if (value.find('\0') != std::string::npos) {
        return "holds a NUL byte";
    }
    if (form == CredentialForm::enciphered && value.find(kFiller) != std::string::npos) {
        return "holds a byte 0xFF, which the agent takes for its end";
    }
    return "";
}

std::string loginRequest(const std::string& user, const std::string& password) {
    return requestText(protocol::kLogin, {encipheredText(user), encipheredText(password)});
}

std::string plainLoginRequest(const std::string& user, const std::string& password) {
    return requestText(protocol::kLogin2,
                       {support::base64Encode(user), support::base64Encode(password)});
}

}  // namespace companion
