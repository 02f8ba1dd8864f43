#include "gate/requestCheck.h"

#include <strings.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <optional>
#include <vector>

#include "companion/answer.h"
#include "companion/request.h"
#include "support/protocol.h"
#include "support/utf8.h"

namespace gate {
namespace {

using namespace protocol;
using Values = Command::Values;
using Unsound = Command::Unsound;
using Verdict = CheckedRequest::Verdict;

constexpr Command kCommands[] = {
    {.name = kGetStatus, .isShared = true},
    {.name = kListVexa, .isShared = true},
    {.name = kGetIcon, .values = Values::icon, .unsound = Unsound::noIcon, .isShared = true},
    {.name = kLaunch, .values = Values::package, .unsound = Unsound::notFound, .isSlow = true},
    {.name = kKillAll, .isSlow = true},
    {.name = kGetCurrentUser, .isShared = true},
    {.name = kLogin, .values = Values::enciphered, .unsound = Unsound::loginFail},
    {.name = kLogin2, .values = Values::plain, .unsound = Unsound::loginFail},
    {.name = kLogout},
    // The agent refuses it whatever its value is.
    {.name = kSetAutoLogin, .values = Values::anything, .isShared = true},
    {.name = kGetKalloSetting, .isShared = true},
};

constexpr size_t kLongestName = 255;       ///< of a package: its folder's
constexpr size_t kLongestCredential = 88;  ///< base64 of an enciphered block of 64 bytes
constexpr size_t kLongestPlainPassword = 64;

/// A text without control characters, in UTF-8. A blank at an end, written as a reference, is one
/// that the agent keeps and finds in no name; written anew it would be cut off, and the name found.
bool isName(std::string_view text) {
    const auto isControl = [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; };
    return !text.starts_with(' ') && !text.ends_with(' ') && text.size() <= kLongestName &&
           support::isUtf8(text) && std::ranges::none_of(text, isControl);
}

/// Base64 without what many phones' encoders put inside; none when that is no base64.
std::optional<std::string> credential(std::string text, size_t longest) {
    std::erase_if(text, [](char byte) { return strchr(" \t\r\n", byte) != nullptr; });
    const size_t digits =
        text.find_first_not_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/");
    const std::string_view padding =
        digits == std::string::npos ? "" : std::string_view(text).substr(digits);
    // Padding alone is a value of nothing, to which the agent has an answer of its own.
    const bool isSound = !text.empty() && text.size() <= longest && text.size() % 4 == 0 &&
                         (padding.empty() || padding == "=" || padding == "==" || text == "====");
    return isSound ? std::optional(text) : std::nullopt;
}

/// The values of a request, as they go to the agent; none when they are not sound.
std::optional<std::vector<std::string>> soundValues(Values kind,
                                                    const std::vector<std::string>& found) {
    const auto value = [&](size_t number) { return number < found.size() ? found[number] : ""; };
    switch (kind) {
        case Values::none:
        case Values::anything:
            return std::vector<std::string>{};
        case Values::package:
            // A launch without a name is one that starts nothing.
            if (value(0).empty()) {
                return std::vector<std::string>{};
            }
            return isName(value(0)) ? std::optional(std::vector{value(0)}) : std::nullopt;
        case Values::icon:
            return isName(value(0)) && (value(1) == kPhone || value(1) == kPad)
                       ? std::optional(std::vector{value(0), value(1)})
                       : std::nullopt;
        case Values::enciphered:
        case Values::plain:
            break;
    }
    const auto user = credential(value(0), kLongestCredential);
    const auto password =
        credential(value(1), kind == Values::plain ? kLongestPlainPassword : kLongestCredential);
    return user && password ? std::optional(std::vector{*user, *password}) : std::nullopt;
}

CheckedRequest refusal(const Command& command) {
    switch (command.unsound) {
        case Unsound::notFound:
            return {Verdict::refused, "", kResultTexts[vexaNotFound], &command};
        case Unsound::noIcon:
            return {Verdict::noIcon, "", "", &command};
        case Unsound::loginFail:
            return {Verdict::refused, "", kLoginFail, &command};
        case Unsound::nothing:
            break;
    }
    return {};
}

/// The texts of the parameters, those that are missing left empty.
std::vector<std::string> parametersOf(const XMLNode& request) {
    constexpr int kMost = 2;
    std::vector<std::string> found;
    for (int number = 0; number < std::min(request.childCount(kParameterElement), kMost);
         ++number) {
        found.push_back(companion::textOf(request.childNode(kParameterElement, number)));
    }
    return found;
}

}  // namespace

CheckedRequest checkRequest(std::string_view bytes) {
    // A browser's request begins with a word, be there a document behind it or not.
    const std::string text(bytes.substr(0, bytes.find('\0')));
    const size_t start = text.find_first_not_of("\xEF\xBB\xBF \t\r\n");
    if (start == std::string::npos || text[start] != '<') {
        return {};
    }
    const XMLNode request = companion::parseDocument(text);
    const char* const name = request.childNode(kCommandElement).text();
    if (name == nullptr) {
        return {};
    }
    const auto command = std::ranges::find_if(
        kCommands, [name](const Command& known) { return std::string_view(known.name) == name; });
    if (command == std::end(kCommands)) {
        return {Verdict::refused, "", kResultTexts[invalidCommand], nullptr};
    }
    const auto values = soundValues(command->values, parametersOf(request));
    if (!values) {
        return refusal(*command);
    }
    const std::string anew = companion::requestText(command->name, *values);
    return anew.size() <= kRequestLimit ? CheckedRequest{Verdict::sound, anew, "", command}
                                        : refusal(*command);
}

bool isWholeRequest(std::string_view bytes) noexcept {
    static const std::string kEnd = std::string("</") + kRootElement;
    const auto sameLetter = [](char left, char right) {
        return tolower(static_cast<unsigned char>(left)) ==
               tolower(static_cast<unsigned char>(right));
    };
    const auto end = std::search(bytes.begin(), bytes.end(), kEnd.begin(), kEnd.end(), sameLetter);
    return end != bytes.end() && std::find(end, bytes.end(), '>') != bytes.end();
}

std::string unknownCommandRequest() {
    return companion::requestText("?");
}

}  // namespace gate
