#include "agent/response.h"

#include <cstdio>
#include <cstdlib>
#include <iterator>

namespace response {
namespace {

constexpr const char* kProtocolVersion = "1.2";

// Indexed by code. That of code 3 is spelled as clients compare it.
constexpr const char* kCodeTexts[] = {"success",           "no_permission",  "login_required",
                                      "paramter_required", "vexa_not_found", "invalid_command"};

}  // namespace

const char* codeText(int code) noexcept {
    return code >= 0 && code < static_cast<int>(std::size(kCodeTexts)) ? kCodeTexts[code] : "fail";
}

XMLNode newDocument() {
    XMLNode document = XMLNode::createTopNode(kRootElement, false);
    document.addAttribute("version", kProtocolVersion);
    return document;
}

void addElement(XMLNode& parent, const char* name, const std::string& text) {
    parent.addChild(name).addText(text.c_str());
}

void addKnown(XMLNode& parent, const char* name, const std::string& text) {
    if (!text.empty()) {
        addElement(parent, name, text);
    }
}

std::string render(const XMLNode& document) {
    char* text = document.createString(1);
    std::string rendered = text == nullptr ? std::string() : std::string(text);
    free(text);
    return rendered;
}

std::string sizeDocument(size_t length) {
    char digits[32];
    snprintf(digits, sizeof digits, "%lu", static_cast<unsigned long>(length));
    XMLNode document = newDocument();
    addElement(document, "size", digits);
    return render(document);
}

}  // namespace response
