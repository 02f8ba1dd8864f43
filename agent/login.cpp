// Logging a server user in to the desktop: the password is checked here and left for the desktop's
// tools, the user is recorded in the settings, and the desktop takes over from there.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "accounts/accountStore.h"
#include "agent/agentLog.h"
#include "agent/credentialBlock.h"
#include "agent/desktopCheck.h"
#include "agent/handOver.h"
#include "agent/kalloagent.h"
#include "agent/response.h"
#include "agent/settings.h"
#include "support/commandOutput.h"
#include "support/wordSplit.h"

namespace {

using credentialBlock::Block;

// One byte of a block always stays 0, so what is read is a text.
constexpr size_t kDecodedLimit = credentialCipher::kCredentialBlockSize - 1;
constexpr mode_t kScratchMode = 0600;
constexpr const char* kScratchFile = "/tmp/.en.pn.lo";
constexpr const char* kEncodeScratch = "cat /tmp/.en.pn.lo | /usr/bin/base64";

constexpr const char* kLogin =
    "void CKalloAgent::login(const unsigned char*, const unsigned char*, resultContent_t&)";
constexpr const char* kLogin2 =
    "void CKalloAgent::loginWithoutAES(const unsigned char*, const unsigned char*, "
    "resultContent_t&)";

/// How a log-in ends.
enum class Outcome {
    success,
    refused,
    silent  ///< a tool gave nothing to work with: the client gets no answer
};

void reportFailure(const char* function, int line, const char* call) {
    support::logLine(agentLog::Colour::none, agentLog::at(line, function), "%s() ... fail\n", call);
}

/// Decodes a base64 value of a request into a zeroed block, at most 63 bytes of it. The value
/// stands between single quotes as it came, so one that holds a quote is cut into other words.
Outcome decodeValue(const unsigned char* value, Block& block, const char* function, int line) {
    const std::string command = std::string("/bin/echo '") + reinterpret_cast<const char*>(value) +
                                "' | /usr/bin/base64 -d";
    const auto output = support::readCommandOutput(support::splitWords(command), kDecodedLimit);
    if (!output) {
        return Outcome::refused;
    }
    if (output->empty()) {
        reportFailure(function, line, "fread");
        return Outcome::silent;
    }
    std::copy(output->begin(), output->end(), block.begin());
    return Outcome::success;
}

/// The two values of a request.
struct Credentials {
    Block user{};
    Block password{};
};

/// Where the lines about a value that could not be decoded say that they come from.
struct LogPlace {
    const char* function;
    int userLine;
    int passwordLine;
};

Outcome decodeValues(const unsigned char* user, const unsigned char* password,
                     const LogPlace& place, Credentials& decoded) {
    const Outcome outcome = decodeValue(user, decoded.user, place.function, place.userLine);
    return outcome == Outcome::success
               ? decodeValue(password, decoded.password, place.function, place.passwordLine)
               : outcome;
}

/// Enciphers a block by way of the scratch file and the encoder, which both have to work.
Outcome encodeBlock(const AesKeys& keys, Block& block) {
    credentialCipher::encrypt(keys, block.size(), block.data(), block.data());
    // Made anew each time: whoever put a file or a link of that name there first would read the
    // password, or choose where it is written.
    unlink(kScratchFile);
    const int scratch =
        open(kScratchFile, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kScratchMode);
    if (scratch < 0) {
        return Outcome::refused;
    }
    const ssize_t written = write(scratch, block.data(), block.size());
    close(scratch);
    if (written <= 0) {
        reportFailure(kLogin2, 760, "write");
        return Outcome::silent;
    }
    const auto encoded =
        support::readCommandOutput(support::splitWords(kEncodeScratch), block.size());
    if (!encoded) {
        return Outcome::refused;
    }
    if (encoded->empty()) {
        reportFailure(kLogin2, 769, "fread");
        return Outcome::silent;
    }
    unlink(kScratchFile);
    return Outcome::success;
}

/// Leaves the password text as the client sent it, and records the log-in in the settings.
Outcome recordLogin(const unsigned char* password, const std::vector<std::string>& user) {
    if (!handOver::store(reinterpret_cast<const char*>(password))) {
        return Outcome::refused;
    }
    settings::write("ZelvRemote", "Login", user);
    return Outcome::success;
}

/// A log-in whose values are enciphered and then base64.
Outcome logInEnciphered(const AesKeys& keys, const unsigned char* user,
                        const unsigned char* password) {
    const AccountStore accounts;
    Credentials decoded;
    const Outcome outcome = decodeValues(user, password, {kLogin, 645, 661}, decoded);
    if (outcome != Outcome::success) {
        return outcome;
    }
    if (accounts.verifyPassword(credentialBlock::decipheredText(keys, decoded.user),
                                credentialBlock::decipheredText(keys, decoded.password)) != 0) {
        return Outcome::refused;
    }
    return recordLogin(password, {reinterpret_cast<const char*>(user)});
}

/// A log-in whose values are base64 only.
Outcome logInPlain(const AesKeys& keys, const unsigned char* user, const unsigned char* password) {
    const AccountStore accounts;
    Credentials decoded;
    Outcome outcome = decodeValues(user, password, {kLogin2, 730, 740}, decoded);
    if (outcome != Outcome::success) {
        return outcome;
    }
    if (accounts.verifyPassword(credentialBlock::textOf(decoded.user),
                                credentialBlock::textOf(decoded.password)) != 0) {
        return Outcome::refused;
    }
    // As many bytes as the base64 text has characters: more than it decodes to, so that a zero byte
    // ends the password.
    const size_t length = strlen(reinterpret_cast<const char*>(password));
    Block block = credentialBlock::filledBlock(decoded.password, length);
    outcome = encodeBlock(keys, block);
    // The desktop reads the text that the client sent, and asks for the user itself.
    return outcome == Outcome::success ? recordLogin(password, {}) : outcome;
}

using LogIn = Outcome (*)(const AesKeys&, const unsigned char*, const unsigned char*);

Outcome logIn(LogIn method, const AesKeys& keys, const unsigned char* user,
              const unsigned char* password) {
    if (isDesktopRunning() || user == nullptr || password == nullptr) {
        return Outcome::refused;
    }
    return method(keys, user, password);
}

void answer(Outcome outcome, XMLNode document, resultContent_t& result) {
    if (outcome == Outcome::silent) {
        return;
    }
    response::addElement(document, "errRtn",
                         outcome == Outcome::success ? "login_success" : "login_fail");
    result.text = response::render(document);
    result.contentType = kTextAnswer;
}

}  // namespace

void CKalloAgent::login(const unsigned char* user, const unsigned char* password,
                        resultContent_t& result) {
    answer(logIn(logInEnciphered, *m_aesKeys, user, password), beginAnswer_(), result);
}

void CKalloAgent::loginWithoutAES(const unsigned char* user, const unsigned char* password,
                                  resultContent_t& result) {
    answer(logIn(logInPlain, *m_aesKeys, user, password), beginAnswer_(), result);
}
