#include "companion/answer.h"

#include <cstring>

#include "support/protocol.h"

namespace companion {
namespace {

std::string stringOf(const char* text) {
    return text != nullptr ? text : "";
}

}  // namespace

XMLNode parseDocument(const std::string& text) {
    return XMLNode::parseString(text.c_str(), protocol::kRootElement);
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

std::vector<XMLNode> itemsOf(const XMLNode& document) {
    std::vector<XMLNode> items;
    int next = 0;
    for (int left = document.childCount(protocol::kItemElement); left > 0; --left) {
        items.push_back(document.childNode(protocol::kItemElement, &next));
    }
    return items;
}

std::string resultOf(const XMLNode& document) {
    return childText(document, protocol::kResultElement);
}

bool isSuccess(std::string_view result) noexcept {
    return result == protocol::kResultTexts[protocol::success] || result == protocol::kLoginSuccess;
}

}  // namespace companion
