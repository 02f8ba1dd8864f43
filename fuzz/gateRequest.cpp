// The bytes of a client at the gate: whatever is sound goes to the agent as one command of the
// table with sound values. The whole input is what the client has sent.
#include <algorithm>
#include <cassert>
#include <string>

#include "companion/answer.h"
#include "fuzz/target.h"
#include "gate/requestCheck.h"
#include "support/protocol.h"
#include "support/utf8.h"

namespace {

using namespace protocol;
using Verdict = gate::CheckedRequest::Verdict;

constexpr const char* kCommands[] = {kGetStatus, kListVexa,       kGetIcon,        kLaunch,
                                     kKillAll,   kGetCurrentUser, kLogin,          kLogin2,
                                     kLogout,    kSetAutoLogin,   kGetKalloSetting};

bool isBase64(const std::string& text, size_t longest) {
    return !text.empty() && text.size() <= longest && text.size() % 4 == 0 &&
           std::ranges::all_of(text, [](unsigned char byte) {
               return isalnum(byte) != 0 || byte == '+' || byte == '/' || byte == '=';
           });
}

bool isName(const std::string& text) {
    return text.size() <= 255 && support::isUtf8(text) &&
           std::ranges::none_of(text,
                                [](unsigned char byte) { return byte < ' ' || byte == 0x7F; });
}

void checkValues(const std::string& command, const XMLNode& request) {
    const int count = request.childCount(kParameterElement);
    const std::string first = companion::textOf(request.childNode(kParameterElement, 0));
    const std::string second = companion::textOf(request.childNode(kParameterElement, 1));
    if (command == kLogin || command == kLogin2) {
        assert(count == 2 && isBase64(first, 88) && isBase64(second, command == kLogin ? 88 : 64));
    } else if (command == kGetIcon) {
        assert(count == 2 && isName(first) && (second == kPhone || second == kPad));
    } else if (command == kLaunch) {
        assert(count <= 1 && isName(first));
    } else {
        assert(count == 0);
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view bytes = fuzz::textOf(data, size).substr(0, kRequestLimit);
    gate::isWholeRequest(bytes);
    const gate::CheckedRequest found = gate::checkRequest(bytes);
    assert((found.verdict == Verdict::sound) == !found.text.empty());
    assert((found.verdict == Verdict::refused) == (*found.result != '\0'));
    if (found.verdict != Verdict::sound) {
        return 0;
    }
    assert(found.text.size() <= kRequestLimit && gate::isWholeRequest(found.text));
    XMLResults results{};
    const XMLNode request = XMLNode::parseString(found.text.c_str(), kRootElement, &results);
    assert(results.error == XMLError::none && request.childCount(kCommandElement) == 1);
    const std::string command = companion::childText(request, kCommandElement);
    assert(std::ranges::count(kCommands, command) == 1 && command == found.command->name);
    assert(request.childCount() == 1 + request.childCount(kParameterElement));
    checkValues(command, request);
    // What is sound stays as it is.
    assert(gate::checkRequest(found.text).text == found.text);
    return 0;
}
