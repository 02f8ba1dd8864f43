#include "gate/web/pairingCodes.h"

#include <openssl/crypto.h>

#include <algorithm>

#include "gate/web/stateFile.h"

namespace gate {
namespace {

constexpr std::string_view kAlphabet = "0123456789ABCDEFGHJKMNPQRSTVWXYZ";
constexpr size_t kLength = 8;

/// What was meant by the text that somebody typed.
std::string plainCode(std::string_view typed) {
    std::string code;
    for (char character : typed.substr(0, 8 * kLength)) {
        if (character >= 'a' && character <= 'z') {
            character = static_cast<char>(character - 'a' + 'A');
        }
        if (character == 'I' || character == 'L') {
            code += '1';
        } else if (character == 'O') {
            code += '0';
        } else if (character != ' ' && character != '-') {
            code += character;
        }
    }
    return code;
}

bool isSame(const std::string& one, const std::string& other) {
    return one.size() == other.size() && CRYPTO_memcmp(one.data(), other.data(), one.size()) == 0;
}

}  // namespace

std::string PairingCodes::open(const std::string& name, Time now) {
    forget_(now);
    if (m_codes.size() == kMost) {
        m_codes.erase(m_codes.begin());
    }
    std::string code = randomBytes(kLength);
    for (char& character : code) {
        character = kAlphabet[static_cast<unsigned char>(character) % kAlphabet.size()];
    }
    m_codes.push_back({code, name, now + kValid});
    return code;
}

std::optional<std::string> PairingCodes::take(std::string_view typed, Time now) {
    forget_(now);
    const std::string code = plainCode(typed);
    const auto found =
        std::ranges::find_if(m_codes, [&](const Code& open) { return isSame(open.text, code); });
    if (found != m_codes.end()) {
        std::optional<std::string> name = std::move(found->name);
        m_codes.erase(found);
        return name;
    }
    for (Code& open : m_codes) {
        ++open.wrong;
    }
    return std::nullopt;
}

void PairingCodes::forget_(Time now) {
    std::erase_if(m_codes,
                  [&](const Code& code) { return now >= code.end || code.wrong >= kMostWrong; });
}

}  // namespace gate
