// The local channel: one command, which hands the password of the last login to the desktop's own
// tools. Whoever reaches the socket is on this machine, so the password travels as base64 only.
#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

#include "agent/handOver.h"
#include "agent/kalloagent.h"
#include "agent/response.h"
#include "support/base64.h"

namespace {

using credentialCipher::kCredentialBlockSize;
using Block = std::array<unsigned char, kCredentialBlockSize>;

constexpr unsigned char kEndMark = 0xFF;
constexpr size_t kReadChunk = 4096;

/// The whole file; empty when it cannot be read, whatever stands in its place.
std::string readHandOverFile() {
    std::string text;
    FILE* file = fopen(handOver::kPasswordFile, "re");
    if (file == nullptr) {
        return text;
    }
    std::array<char, kReadChunk> chunk;
    while (const size_t count = fread(chunk.data(), 1, chunk.size(), file)) {
        text.append(chunk.data(), count);
    }
    fclose(file);
    return text;
}

/// The password that the last login left; empty when there is none.
std::string storedPassword() {
    const std::string text = readHandOverFile();
    Block plain{};
    if (!text.empty()) {
        AesKeys keys{};
        credentialCipher::setKey(keys, credentialCipher::kCredentialKey.data(),
                                 static_cast<int>(credentialCipher::kCredentialKey.size()));
        const std::string decoded = support::base64Decode(text);
        Block enciphered{};
        std::copy_n(decoded.begin(), std::min(decoded.size(), enciphered.size()),
                    enciphered.begin());
        credentialCipher::decrypt(keys, enciphered.size(), enciphered.data(), plain.data());
    }
    const auto mark = std::find(plain.begin(), plain.end(), kEndMark);
    if (mark != plain.end()) {
        *mark = 0;
    }
    return {plain.begin(), std::find(plain.begin(), plain.end(), 0)};
}

}  // namespace

int CKalloAgent::unixIpcProcess_(std::unique_ptr<corex::Socket> connection) {
    return converse_(connection, "int CKalloAgent::unixIpcProcess_(std::unique_ptr<corex::Socket>)",
                     &CKalloAgent::dispatchLocal_);
}

void CKalloAgent::dispatchLocal_(const char* command, const XMLNode& /*request*/,
                                 resultContent_t& result) {
    if (strcmp(command, "GetPassword") == 0) {
        getPassword_(result);
    } else {
        errorResponse_(response::kInvalidCommand, result);
    }
}

void CKalloAgent::getPassword_(resultContent_t& result) {
    const std::string password = storedPassword();
    XMLNode document = response::newDocument();
    response::addElement(document, "torvik_ver", m_torvikVersion);
    response::addElement(document, "passwd", support::base64Encode(password));
    response::addElement(document, "errRtn", password.empty() ? "fail" : "success");
    result.text = response::render(document);
    result.contentType = kTextAnswer;
}
