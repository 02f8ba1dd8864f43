// Logging a server user in to the desktop: the password is checked here and left for the desktop's
// tools, the user is recorded in the settings, and the desktop takes over from there.
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

#include "accounts/accountStore.h"
#include "agent/credentialBlock.h"
#include "agent/desktopCheck.h"
#include "agent/handOver.h"
#include "agent/kalloagent.h"
#include "agent/logSources.h"
#include "agent/response.h"
#include "agent/settings.h"
#include "support/commandOutput.h"
#include "support/handles.h"
#include "support/process/wordSplit.h"
#include "support/protocol.h"

namespace {

using credentialBlock::Block;

// One byte of a block stays 0, so that what is read is a text for the C library.
constexpr size_t kDecodedLimit = credentialCipher::kCredentialBlockSize - 1;
constexpr const char* kScratchFile = "/tmp/.en.pn.lo";
constexpr mode_t kScratchMode = 0600;

/// How a log-in ends.
enum class Outcome {
    success,
    refused,
    silent  ///< a tool gave nothing to work with: the client gets no answer
};

/// The two values of a request, as texts or decoded.
template <typename Value>
struct Credentials {
    Value user{};
    Value password{};
};
using Texts = Credentials<const char*>;
using Blocks = Credentials<Block>;

/// Where the lines about a value that could not be decoded come from.
using Places = Credentials<const support::LogSource&>;

/// Decodes a base64 value of a request into a zeroed block, at most 63 bytes of it. The value
/// stands between single quotes as it came, so one that holds a quote is cut into other words.
Outcome decodeValue(const char* value, Block& block, const support::LogSource& source) {
    const std::string command = std::string("/bin/echo '") + value + "' | /usr/bin/base64 -d";
    const auto output = support::readCommandOutput(support::splitWords(command), kDecodedLimit);
    if (!output) {
        return Outcome::refused;
    }
    if (output->empty()) {
        logSources::logFailed(source, "fread");
        return Outcome::silent;
    }
    std::ranges::copy(*output, block.begin());
    return Outcome::success;
}

Outcome decodeValues(const Texts& texts, const Places& places, Blocks& decoded) {
    const Outcome outcome = decodeValue(texts.user, decoded.user, places.user);
    return outcome == Outcome::success
               ? decodeValue(texts.password, decoded.password, places.password)
               : outcome;
}

/// Makes the scratch file anew: whoever put a file or a link of that name there first would read
/// the password, or choose where it is written.
support::Descriptor makeScratchFile() {
    unlink(kScratchFile);
    return support::Descriptor(
        open(kScratchFile, O_RDWR | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, kScratchMode));
}

/// Enciphers a block into the scratch file and has it encoded. Both have to work, although nobody
/// uses the text: the desktop gets the one that the client sent.
Outcome encodeBlock(const AesKeys& keys, Block block) {
    credentialCipher::encrypt(keys, block.size(), block.data(), block.data());
    support::Descriptor scratch = makeScratchFile();
    if (!scratch) {
        return Outcome::refused;
    }
    if (write(scratch.get(), block.data(), block.size()) <= 0) {
        logSources::logFailed(logSources::kScratchWrite, "write");
        return Outcome::silent;
    }
    scratch.reset();
    const std::string command = std::string("cat ") + kScratchFile + " | /usr/bin/base64";
    const auto encoded = support::readCommandOutput(support::splitWords(command), block.size());
    if (!encoded) {
        return Outcome::refused;
    }
    if (encoded->empty()) {
        logSources::logFailed(logSources::kScratchEncoder, "fread");
        return Outcome::silent;
    }
    unlink(kScratchFile);
    return Outcome::success;
}

/// Leaves the password text as the client sent it, and records the log-in in the settings.
Outcome recordLogin(const char* password, const std::vector<std::string>& user) {
    if (!handOver::store(password)) {
        return Outcome::refused;
    }
    settings::write("ZelvRemote", "Login", user);
    return Outcome::success;
}

/// A log-in whose values are enciphered and then base64.
Outcome logInEnciphered(const AesKeys& keys, const Texts& texts) {
    const AccountStore accounts;
    Blocks decoded;
    const Outcome outcome =
        decodeValues(texts, {logSources::kLoginUser, logSources::kLoginPassword}, decoded);
    if (outcome != Outcome::success) {
        return outcome;
    }
    if (accounts.verifyPassword(credentialBlock::decipheredText(keys, decoded.user),
                                credentialBlock::decipheredText(keys, decoded.password)) != 0) {
        return Outcome::refused;
    }
    return recordLogin(texts.password, {texts.user});
}

/// A log-in whose values are base64 only.
Outcome logInPlain(const AesKeys& keys, const Texts& texts) {
    const AccountStore accounts;
    Blocks decoded;
    Outcome outcome =
        decodeValues(texts, {logSources::kLogin2User, logSources::kLogin2Password}, decoded);
    if (outcome != Outcome::success) {
        return outcome;
    }
    if (accounts.verifyPassword(credentialBlock::textOf(decoded.user),
                                credentialBlock::textOf(decoded.password)) != 0) {
        return Outcome::refused;
    }
    // The length is that of the base64 text, which is longer than what it decodes to: a zero byte
    // behind the password goes into the block with it.
    const size_t length = strlen(texts.password);
    outcome = encodeBlock(keys, credentialBlock::filledBlock(decoded.password, length));
    // No user is recorded: the desktop asks for it then.
    return outcome == Outcome::success ? recordLogin(texts.password, {}) : outcome;
}

using LogIn = Outcome (*)(const AesKeys&, const Texts&);

void logIn(LogIn method, const AesKeys& keys, const unsigned char* user,
           const unsigned char* password, XMLNode document, resultContent_t& result) {
    Outcome outcome = Outcome::refused;
    if (!isDesktopRunning() && user != nullptr && password != nullptr) {
        outcome = method(
            keys, {reinterpret_cast<const char*>(user), reinterpret_cast<const char*>(password)});
    }
    if (outcome != Outcome::silent) {
        response::addElement(
            document, protocol::kResultElement,
            outcome == Outcome::success ? protocol::kLoginSuccess : protocol::kLoginFail);
        response::finish(document, result);
    }
}

}  // namespace

void CKalloAgent::login(const unsigned char* user, const unsigned char* password,
                        resultContent_t& result) {
    logIn(logInEnciphered, *m_aesKeys, user, password, beginAnswer_(), result);
}

void CKalloAgent::loginWithoutAES(const unsigned char* user, const unsigned char* password,
                                  resultContent_t& result) {
    logIn(logInPlain, *m_aesKeys, user, password, beginAnswer_(), result);
}
