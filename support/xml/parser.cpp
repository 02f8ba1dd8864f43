// Parsing: from the text of a document to its tree, and from an error to its place in the text.
//
// Names, values and texts are cut out of the document's own copy of the text, decoded where they
// stand and ended by a zero byte over the character behind them, once that has been read.
#include <algorithm>
#include <cassert>
#include <cstring>
#include <new>
#include <vector>

#include "support/xml/characters.h"
#include "support/xml/content.h"
#include "support/xml/entities.h"
#include "support/xml/tokens.h"
#include "support/xmlParser.h"

namespace support::xml {

namespace {

/// One parse: the document's own copy of the text, what is open, and how it ended.
struct ParseContext {
    ParseContext(char* text, Record& top, const XMLSettings& given)
        : settings(given), tokens(text), root(top), open(top) {}

    const XMLSettings& settings;
    Tokeniser tokens;
    Record& root;  // unnamed, around the whole document
    OpenElements open;
    std::vector<NodeAttribute> attributes;  // of the tag being read
    XMLError error = XMLError::none;
    const char* errorAt = nullptr;  // in the copy of the text
};

bool fail(ParseContext& context, XMLError error, const char* at) {
    context.error = error;
    context.errorAt = at;
    return false;
}

/// Notes a warning, unless there is one already: the first one is reported.
void warn(ParseContext& context, XMLError warning, const char* at) {
    if (context.error == XMLError::none) {
        fail(context, warning, at);
    }
}

/// The "?" in front of the ">" that closes a declaration belongs to neither name nor value.
void cutDeclarationEnd(Tokeniser& tokens, Token& word) {
    if (word.kind == TokenKind::text && word.end[-1] == '?' && tokens.isBeforeTagClose()) {
        --word.end;
    }
}

/// Reads the value behind the "=" of the attribute; decodes it where it stands.
bool readValue(ParseContext& context, bool isDeclaration, NodeAttribute& attribute) {
    Token value = context.tokens.next();
    if (value.kind == TokenKind::quotedText) {
        ++value.begin;
        --value.end;
    } else if (value.kind != TokenKind::text) {
        return fail(context, XMLError::unexpectedToken, value.begin);
    } else if (isDeclaration) {
        cutDeclarationEnd(context.tokens, value);
    }
    uint32_t length = value.length();
    const char* errorAt = nullptr;
    const XMLError error = decodeEntities(value.begin, length, context.settings.encoding, &errorAt);
    if (error != XMLError::none) {
        return fail(context, error, errorAt);
    }
    attribute.value = value.begin;
    attribute.valueLength = length;
    attribute.escapedLength = static_cast<uint32_t>(escapedLength(value.begin, length));
    return true;
}

/// Reads the attributes of a tag up to and with the token that closes it, which it returns in
/// `close`.
bool readAttributes(ParseContext& context, bool isDeclaration, Token& close) {
    context.attributes.clear();
    Token token = context.tokens.next();
    while (token.kind == TokenKind::text) {
        if (isDeclaration) {
            cutDeclarationEnd(context.tokens, token);
        }
        NodeAttribute attribute{token.begin, nullptr, token.length(), 0, 0};
        token = context.tokens.next();
        if (token.kind == TokenKind::equals) {
            if (!readValue(context, isDeclaration, attribute)) {
                return false;
            }
            token = context.tokens.next();
        }
        if (attribute.nameLength != 0) {
            context.attributes.push_back(attribute);
        }
    }
    if (token.kind != TokenKind::tagClose && token.kind != TokenKind::shortHandClose) {
        return fail(context, XMLError::unexpectedToken, token.begin);
    }
    close = token;
    return true;
}

/// Moves the attributes that were read into the record and ends their strings.
void storeAttributes(Record& record, const std::vector<NodeAttribute>& attributes) {
    if (attributes.empty()) {
        return;
    }
    record.attributeCount = static_cast<int32_t>(attributes.size());
    record.attributes = record.document->allocate<NodeAttribute>(arrayRoom(record.attributeCount));
    std::copy(attributes.begin(), attributes.end(), record.attributes);
    // The strings lie in the document's own copy of the text.
    for (const NodeAttribute& attribute : attributes) {
        const_cast<char*>(attribute.name)[attribute.nameLength] = '\0';
        if (attribute.value != nullptr) {
            const_cast<char*>(attribute.value)[attribute.valueLength] = '\0';
        }
    }
}

bool readStartTag(ParseContext& context, bool isDeclaration) {
    Token name = context.tokens.next();
    if (name.kind == TokenKind::text && isDeclaration) {
        cutDeclarationEnd(context.tokens, name);
    }
    if (name.kind != TokenKind::text || name.length() == 0) {
        return fail(context, XMLError::missingStartTagName, name.begin);
    }
    Token close{};
    if (!readAttributes(context, isDeclaration, close)) {
        return false;
    }
    Record& parent = context.open.innermost();
    Record& record = newRecord(*parent.document, &parent, name.begin, name.length(), isDeclaration);
    *name.end = '\0';
    storeAttributes(record, context.attributes);
    if (isDeclaration || close.kind == TokenKind::shortHandClose) {
        context.open.addClosed(record);
    } else {
        context.open.open(record);
    }
    return true;
}

/// Closes the innermost open element of the name that follows, with those open inside it.
bool readEndTag(ParseContext& context, const char* tagStart) {
    const Token name = context.tokens.next();
    if (name.kind != TokenKind::text) {
        return fail(context, XMLError::missingEndTagName, name.begin);
    }
    const Token close = context.tokens.next();
    if (close.kind != TokenKind::tagClose) {
        return fail(context, XMLError::unexpectedToken, close.begin);
    }
    const Record* named = &context.open.innermost();
    while (named->parent != nullptr &&
           !sameName(named->name, named->nameLength, name.begin, name.length())) {
        named = named->parent;
    }
    if (named->parent == nullptr) {
        return fail(context, XMLError::unmatchedEndTag, tagStart);
    }
    for (; &context.open.innermost() != named; context.open.close()) {
        warn(context, XMLError::unmatchedEndTagWarning, tagStart);
    }
    context.open.close();
    return true;
}

bool readClearSection(ParseContext& context, const Token& opener) {
    char* const content = context.tokens.position();
    char* const end = context.tokens.clearContentEnd(*opener.clearTag);
    if (end == nullptr) {
        return fail(context, XMLError::unmatchedClearTagEnd, opener.begin);
    }
    *end = '\0';
    context.open.addClear(*opener.clearTag, content, static_cast<uint32_t>(end - content));
    return true;
}

/// Appends a decoded text to the text that stood before the last comment. The bytes of that
/// comment, no longer needed, are the room for it.
void appendText(Item& before, const char* text, uint32_t length, uint32_t escaped) {
    memmove(before.bytes + before.length, text, length);
    before.length += length;
    before.escapedLength += escaped;
    before.bytes[before.length] = '\0';
}

/// Decodes a text and adds it to the innermost element.
bool addText(ParseContext& context, char* text, uint32_t length, bool isPlain) {
    uint32_t escaped = length;
    if (!isPlain) {
        const char* errorAt = nullptr;
        const XMLError error = decodeEntities(text, length, context.settings.encoding, &errorAt);
        if (error != XMLError::none) {
            return fail(context, error, errorAt);
        }
        escaped = static_cast<uint32_t>(escapedLength(text, length));
    }
    Item* const before =
        context.settings.mergeTextsAroundComments ? context.open.textBeforeComment() : nullptr;
    if (before != nullptr) {
        appendText(*before, text, length, escaped);
    } else {
        text[length] = '\0';
        context.open.addText(text, length, escaped);
    }
    return true;
}

/// Adds the text between two tags, if there is any. The markup behind it has been read.
bool addPiece(ParseContext& context, const TextPiece& piece) {
    char* begin = piece.begin;
    char* end = piece.end;
    if (context.settings.dropWhitespace) {
        begin = piece.text;
        while (end > begin && isA(end[-1], space)) {
            --end;
        }
    }
    return begin == end ||
           addText(context, begin, static_cast<uint32_t>(end - begin), piece.isPlain);
}

/// Reads one piece of text and the markup behind it. False at the end of the text and on an error,
/// which is left in the context.
bool readNext(ParseContext& context) {
    const TextPiece piece = context.tokens.nextPiece();
    const Token markup = context.tokens.next();
    if (!addPiece(context, piece)) {
        return false;
    }
    switch (markup.kind) {
        case TokenKind::tagStart:
            return readStartTag(context, false);
        case TokenKind::declarationStart:
            return readStartTag(context, true);
        case TokenKind::endTagStart:
            return readEndTag(context, markup.begin);
        case TokenKind::clearSection:
            return readClearSection(context, markup);
        case TokenKind::end:
            return false;
        default:
            return fail(context, XMLError::unexpectedToken, markup.begin);
    }
}

bool isWarning(XMLError error) {
    return error < XMLError::noXmlData;
}

/// Fills `results` with the place of the `offset`th byte of the text.
void countPosition(const char* lpXML, size_t offset, XMLEncoding encoding, XMLResults& results) {
    assert(lpXML);
    results.line = 1;
    results.column = 1;
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

/// Fills the root element of `pXML` from its text. The outcome is left in the context: `errorAt`
/// is then the place in the text. Elements left open are closed with a warning; after an error the
/// content of open elements is lost.
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

/// Sets the outcome of an operation that has no place in a text, when `results` is not null.
void setResults(XMLResults* results, XMLError error) {
    if (results != nullptr) {
        *results = {error, 0, 0};
    }
}

}  // namespace

}  // namespace support::xml

using support::xml::Document;
using support::xml::Record;

XMLNode XMLNode::parseString(const char* text, const char* tag, XMLResults* results) {
    if (text == nullptr) {
        support::xml::setResults(results, XMLError::noElementsFound);
        return {};
    }
    return parse_(text, strlen(text), settings(), tag, results);
}

XMLNode XMLNode::parse_(const char* text, size_t length, const XMLSettings& settings,
                        const char* tag, XMLResults* results) try {
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
    support::xml::ParseContext context(copy, root, settings);
    support::xml::ParseXMLElement(&context);
    if (context.error != XMLError::none && results != nullptr) {
        results->error = context.error;
        support::xml::countPosition(text, static_cast<size_t>(context.errorAt - copy),
                                    settings.encoding, *results);
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
