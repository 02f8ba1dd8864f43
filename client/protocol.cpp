#include "client/protocol.h"

#include <charconv>
#include <cstdlib>
#include <cstring>
#include <memory>

namespace client {
namespace {

constexpr int asOneLine = 0;

std::string stringOf(const char* text) {
    return text != nullptr ? text : "";
}

}  // namespace

std::string requestText(const char* command, std::initializer_list<std::string> params) {
    XMLNode root = XMLNode::createTopNode(rootElement);
    root.addAttribute("version", "1.2");
    root.addChild("cmd").addText(command);
    for (const std::string& param : params) {
        root.addChild("param").addText(param.c_str());
    }
    const std::unique_ptr<char, decltype(&free)> text(root.createString(asOneLine), free);
    return stringOf(text.get());
}

bool announcedSize(const std::string& announcement, uint64_t& size) {
    const std::string text = childText(parseAnswer(announcement), "size");
    const char* const end = text.data() + text.size();
    const auto [stop, code] = std::from_chars(text.data(), end, size);
    return code == std::errc() && stop == end;
}

XMLNode parseAnswer(const std::string& text) {
    return XMLNode::parseString(text.c_str(), rootElement);
}

std::string textOf(const XMLNode& node) {
    return stringOf(node.text());
}

std::string childText(const XMLNode& node, const char* child) {
    return textOf(node.childNode(child));
}

std::string attributeText(const XMLNode& node, const char* attribute) {
    for (int i = 0; i < node.attributeCount(); ++i) {
        if (strcmp(node.attribute(i)->name, attribute) == 0) {
            return stringOf(node.attribute(i)->value);
        }
    }
    return "";
}

bool isSuccess(const std::string& errRtn) {
    return errRtn == "success" || errRtn == "login_success";
}

bool isUnanswered(const std::string& command) {
    return command == "KillAll" || command == "Logout";
}

std::string commandOf(const std::string& request) {
    return childText(parseAnswer(request), "cmd");
}

}  // namespace client
