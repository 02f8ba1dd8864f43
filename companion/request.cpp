#include "companion/request.h"

#include <cstdlib>
#include <memory>

#include "companion/answer.h"
#include "support/protocol.h"
#include "support/xmlParser.h"

namespace companion {

std::string requestText(const char* command, const std::vector<std::string>& parameters) {
    constexpr int kAsOneLine = 0;
    XMLNode root = XMLNode::createTopNode(protocol::kRootElement);
    root.addAttribute(protocol::kVersionAttribute, protocol::kVersion);
    root.addChild(protocol::kCommandElement).addText(command);
    for (const std::string& parameter : parameters) {
        root.addChild(protocol::kParameterElement).addText(parameter.c_str());
    }
    const std::unique_ptr<char, decltype(&free)> text(root.createString(kAsOneLine), &free);
    return text ? text.get() : "";
}

std::string commandOf(const std::string& request) {
    return childText(parseDocument(request), protocol::kCommandElement);
}

bool isUnanswered(std::string_view command) noexcept {
    return command == protocol::kKillAll || command == protocol::kLogout;
}

}  // namespace companion
