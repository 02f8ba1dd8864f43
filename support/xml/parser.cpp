// Parsing: from the text of a document to its tree, and from an error to its place in the text.
#include "support/xmlParser.h"

#include <cassert>
#include <cstring>
#include <new>

#include "support/xml/characters.h"
#include "support/xml/parseContext.h"

namespace support::xml {

namespace {

bool isWarning(XMLError error) {
    return error < XMLError::noXmlData;
}

/// Fills `results` with the place of the `offset`th byte of the text.
void countPosition(const char* lpXML, size_t offset, XMLResults& results) {
    assert(lpXML);
    results.line = 1;
    results.column = 1;
    const XMLEncoding encoding = XMLNode::settings().encoding;
    const char* const at = lpXML + offset;
    while (lpXML < at) {
        if (*lpXML == '\n') {
            ++results.line;
            results.column = 1;
        } else {
            ++results.column;
        }
        lpXML += characterLength(lpXML, at, encoding);
    }
}

}  // namespace

void ParseXMLElement(ParseContext* pXML) {
    assert(pXML);
    while (readNext(*pXML)) {
    }
    if (!isWarning(pXML->error)) {
        return;
    }
    for (; &pXML->open.innermost() != &pXML->root; pXML->open.close()) {
        warn(*pXML, XMLError::unmatchedEndTagWarning, pXML->tokens.position());
    }
    pXML->open.close();
    if (pXML->root.childCount == 0) {
        warn(*pXML, XMLError::noXmlTagFound, pXML->tokens.position());
    }
}

void setResults(XMLResults* results, XMLError error) {
    if (results != nullptr) {
        *results = {error, 0, 0};
    }
}

}  // namespace support::xml

using support::xml::Document;
using support::xml::Record;

XMLNode XMLNode::parseString(const char* text, const char* tag, XMLResults* results) {
    if (text == nullptr) {
        support::xml::setResults(results, XMLError::noElementsFound);
        return {};
    }
    return parse_(text, strlen(text), tag, results);
}

XMLNode XMLNode::parse_(const char* text, size_t length, const char* tag, XMLResults* results) try {
    support::xml::setResults(results, XMLError::none);
    if (length > INT32_MAX) {
        support::xml::setResults(results, XMLError::conversionFailed);
        return {};
    }
    // Besides the text, records take about twice its size in an indented document of short texts.
    constexpr size_t kRoomForSmallTrees = 512;
    Document& document = *Document::create(length + length + kRoomForSmallTrees);
    char* const copy = document.copy(text, length);
    Record& root = support::xml::newRecord(document, nullptr, nullptr, 0, false);
    const XMLNode whole(&root);
    support::xml::ParseContext context(copy, root);
    support::xml::ParseXMLElement(&context);
    if (context.error != XMLError::none && results != nullptr) {
        results->error = context.error;
        support::xml::countPosition(text, static_cast<size_t>(context.errorAt - copy), *results);
    }
    if (!support::xml::isWarning(context.error)) {
        return {};
    }
    return whole.expectedNode_(tag, results);
} catch (const std::bad_alloc&) {
    support::xml::setResults(results, XMLError::conversionFailed);
    return {};
}

/// The node of a parsed document that a caller asked for; this is the unnamed node around it.
XMLNode XMLNode::expectedNode_(const char* tag, XMLResults* results) const {
    XMLNode result = *this;
    if (m_record->childCount == 1 && m_record->itemCount() == 1) {
        result = childNode(0);
    }
    if (tag != nullptr && *tag != '\0' && !result.isNamed_(tag)) {
        result = result.childNode(tag);
        if (result.isEmpty()) {
            support::xml::setResults(results, XMLError::firstTagNotFound);
            return result;
        }
    }
    // No handle is left on what stood around it.
    result.m_record->parent = nullptr;
    return result;
}
