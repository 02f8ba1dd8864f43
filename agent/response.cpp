#include "agent/response.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "agent/kalloagent.h"
#include "support/protocol.h"
#include "support/utf8.h"

namespace response {
namespace {

const char* resultText(int code) {
    const bool isKnown = code >= 0 && code < static_cast<int>(protocol::kResultTexts.size());
    return isKnown ? protocol::kResultTexts[code] : protocol::kFail;
}

/// The characters that XML 1.0 knows, by its production "Char".
bool isXmlCharacter(char32_t character) {
    const bool isLayout = character == '\t' || character == '\n' || character == '\r';
    return isLayout || (character >= 0x20 && character != 0xFFFE && character != 0xFFFF &&
                        character != support::kNoCharacter);
}

/// `text` with U+FFFD for what cannot stand in a document: bytes that are no UTF-8, and control
/// characters. Titles and names are somebody else's, and a strict parser refuses the whole answer.
std::string xmlText(std::string_view text) {
    std::string fit;
    fit.reserve(text.size());
    while (!text.empty()) {
        const auto [character, length] = support::firstUtf8Character(text);
        fit += isXmlCharacter(character) ? text.substr(0, length) : support::kReplacementCharacter;
        text.remove_prefix(length);
    }
    return fit;
}

std::string render(const XMLNode& document) {
    const std::unique_ptr<char, decltype(&free)> text(document.createString(1), free);
    return text == nullptr ? std::string() : std::string(text.get());
}

}  // namespace

XMLNode newDocument() {
    XMLNode document = XMLNode::createTopNode(protocol::kRootElement, false);
    document.addAttribute(protocol::kVersionAttribute, protocol::kVersion);
    return document;
}

void addElement(XMLNode& parent, const char* name, const std::string& text) {
    parent.addChild(name).addText(xmlText(text.c_str()).c_str());
}

void addKnown(XMLNode& parent, const char* name, const std::string& text) {
    if (!text.empty()) {
        addElement(parent, name, text);
    }
}

void addResult(XMLNode& document, int code) {
    addElement(document, protocol::kResultElement, resultText(code));
}

void finish(const XMLNode& document, resultContent_t& result) {
    result.text = render(document);
    result.contentType = textAnswer;
}

void finishDeclared(const XMLNode& document, resultContent_t& result) {
    finish(document, result);
    result.text.insert(0, protocol::kDeclaration);
}

}  // namespace response

XMLNode CKalloAgent::beginAnswer_() const {
    XMLNode document = response::newDocument();
    response::addKnown(document, protocol::kDesktopVersionElement, m_torvikVersion);
    return document;
}

void CKalloAgent::errorResponse_(int code, resultContent_t& result) {
    XMLNode document = response::newDocument();
    response::addElement(document, protocol::kDesktopVersionElement, m_torvikVersion);
    response::addResult(document, code);
    // Clients know these answers without the declaration: the document replaces it.
    result.text = protocol::kDeclaration;
    response::finish(document, result);
}

void CKalloAgent::sizeDocument_(size_t length, std::string& out) {
    char digits[32];
    snprintf(digits, sizeof digits, "%lu", static_cast<unsigned long>(length));
    XMLNode document = response::newDocument();
    response::addElement(document, protocol::kSizeElement, digits);
    out = response::render(document);
}
