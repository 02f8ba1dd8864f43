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
    ParseContext(Record& top, const XMLSettings& given) : settings(given), root(top), open(top) {}

    const XMLSettings& settings;
    Record& root;  // unnamed, around the whole document
    OpenElements open;
    std::vector<NodeAttribute> attributes;  // of the tag being read
    XMLError error = XMLError::none;
    const char* errorAt = nullptr;  // in the copy of the text
};

// What reads takes the position to read at and returns the one behind what it read, or null after
// an error, which is left in the context.

char* fail(ParseContext& context, XMLError error, const char* at) {
    context.error = error;
    context.errorAt = at;
    return nullptr;
}

/// Notes a warning, unless there is one already: the first one is reported.
void warn(ParseContext& context, XMLError warning, const char* at) {
    if (context.error == XMLError::none) {
        fail(context, warning, at);
    }
}

/// The "?" in front of the ">" that closes a declaration belongs to neither name nor value.
void cutDeclarationEnd(Token& word) {
    if (word.kind == TokenKind::text && word.end[-1] == '?' && isBeforeTagClose(word.end)) {
        --word.end;
    }
}

/// Reads the value behind the "=" of the attribute; decodes it where it stands.
char* readValue(ParseContext& context, char* at, bool isDeclaration, NodeAttribute& attribute) {
    Token value = nextToken(at);
    char* const behind = value.end;
    if (value.kind == TokenKind::quotedText) {
        ++value.begin;
        --value.end;
    } else if (value.kind != TokenKind::text) {
        return fail(context, XMLError::unexpectedToken, value.begin);
    } else if (isDeclaration) {
        cutDeclarationEnd(value);
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
    return behind;
}

/// Reads the attributes of a tag up to and with the token that closes it, of kind `close`.
char* readAttributes(ParseContext& context, char* at, bool isDeclaration, TokenKind& close) {
    context.attributes.clear();
    Token token = nextToken(at);
    while (token.kind == TokenKind::text) {
        at = token.end;
        if (isDeclaration) {
            cutDeclarationEnd(token);
        }
        NodeAttribute attribute{token.begin, nullptr, token.length(), 0, 0};
        token = nextToken(at);
        if (token.kind == TokenKind::equals) {
            at = readValue(context, token.end, isDeclaration, attribute);
            if (at == nullptr) {
                return nullptr;
            }
            token = nextToken(at);
        }
        if (attribute.nameLength != 0) {
            context.attributes.push_back(attribute);
        }
    }
    if (token.kind != TokenKind::tagClose && token.kind != TokenKind::shortHandClose) {
        return fail(context, XMLError::unexpectedToken, token.begin);
    }
    close = token.kind;
    return token.end;
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

char* readStartTag(ParseContext& context, const Token& start) {
    const bool isDeclaration = start.kind == TokenKind::declarationStart;
    Token name = nextWord(start.end);
    char* at = name.end;
    if (isDeclaration) {
        cutDeclarationEnd(name);
    }
    if (name.kind != TokenKind::text || name.length() == 0) {
        return fail(context, XMLError::missingStartTagName, name.begin);
    }
    TokenKind close = TokenKind::tagClose;
    const bool isPlain = *at == '>';
    at = isPlain ? at + 1 : readAttributes(context, at, isDeclaration, close);
    if (at == nullptr) {
        return nullptr;
    }
    Record& parent = context.open.innermost();
    Record& record = newRecord(*parent.document, &parent, name.begin, name.length(), isDeclaration);
    *name.end = '\0';
    if (!isPlain) {
        storeAttributes(record, context.attributes);
    }
    context.open.addChild(record);
    if (!isDeclaration && close == TokenKind::tagClose) {
        context.open.open(record);
    }
    return at;
}

/// Closes the innermost open element of the name that is read, with those open inside it.
char* closeNamed(ParseContext& context, const Token& start) {
    const Token name = nextToken(start.end);
    if (name.kind != TokenKind::text) {
        return fail(context, XMLError::missingEndTagName, name.begin);
    }
    const Token close = nextToken(name.end);
    if (close.kind != TokenKind::tagClose) {
        return fail(context, XMLError::unexpectedToken, close.begin);
    }
    const Record* named = &context.open.innermost();
    while (named->parent != nullptr &&
           !sameName(named->name, named->nameLength, name.begin, name.length())) {
        named = named->parent;
    }
    if (named->parent == nullptr) {
        return fail(context, XMLError::unmatchedEndTag, start.begin);
    }
    for (; &context.open.innermost() != named; context.open.close()) {
        warn(context, XMLError::unmatchedEndTagWarning, start.begin);
    }
    context.open.close();
    return close.end;
}

char* readEndTag(ParseContext& context, const Token& start) {
    const Record& innermost = context.open.innermost();
    char* const behind = innermost.name == nullptr
                             ? nullptr
                             : behindEndTag(start.end, innermost.name, innermost.nameLength);
    if (behind == nullptr) {
        return closeNamed(context, start);
    }
    context.open.close();
    return behind;
}

char* readClearSection(ParseContext& context, const Token& opener) {
    const ClearTag& tag = *opener.clearTag;
    char* const content = opener.end;
    char* const end = strstr(content, tag.close);
    if (end == nullptr) {
        return fail(context, XMLError::unmatchedClearTagEnd, opener.begin);
    }
    *end = '\0';
    const ClearSection clear{content, tag.open, tag.close, static_cast<uint32_t>(end - content)};
    if (&tag == &commentTag && context.settings.mergeTextsAroundComments) {
        context.open.addComment(clear);
    } else {
        context.open.addClear(clear);
    }
    return end + strlen(tag.close);
}

/// Appends a decoded text to the text that stood before the last comment. The bytes of that
/// comment, no longer needed, are the room for it.
void appendText(Text& before, const Text& text) {
    char* const end = const_cast<char*>(before.bytes) + before.length;
    memmove(end, text.bytes, text.length);
    end[text.length] = '\0';
    before.length += text.length;
    before.escapedLength += text.escapedLength;
}

/// Decodes a text and adds it to the innermost element. False after an error.
bool addText(ParseContext& context, char* text, uint32_t length, bool isPlain) {
    uint32_t escaped = length;
    if (!isPlain) {
        const char* errorAt = nullptr;
        const XMLError error = decodeEntities(text, length, context.settings.encoding, &errorAt);
        if (error != XMLError::none) {
            fail(context, error, errorAt);
            return false;
        }
        escaped = static_cast<uint32_t>(escapedLength(text, length));
    }
    const Text piece{text, length, escaped};
    if (Text* const before = context.open.textBeforeComment(); before != nullptr) {
        appendText(*before, piece);
    } else {
        text[length] = '\0';
        context.open.addText(piece);
    }
    return true;
}

/// Adds the text between two tags, if there is any. The token behind it has been read. False after
/// an error.
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

/// Reads one piece of text and the markup behind it. Null at the end of the text, too.
char* readNext(ParseContext& context, char* at) {
    const TextPiece piece = nextPiece(at);
    const Token markup = nextMarkup(piece.end);
    if (!addPiece(context, piece)) {
        return nullptr;
    }
    switch (markup.kind) {
        case TokenKind::tagStart:
        case TokenKind::declarationStart:
            return readStartTag(context, markup);
        case TokenKind::endTagStart:
            return readEndTag(context, markup);
        case TokenKind::clearSection:
            return readClearSection(context, markup);
        case TokenKind::end:
            return nullptr;
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

/// Fills the root element of `pXML` from the `length` bytes of its text. The outcome is left in the
/// context: `errorAt` is then the place in the text. Elements left open are closed with a warning;
/// after an error the content of open elements is lost.
void ParseXMLElement(ParseContext* pXML, char* text, size_t length) {
    assert(pXML);
    for (char* at = text; at != nullptr;) {
        at = readNext(*pXML, at);
    }
    if (!isWarning(pXML->error)) {
        return;
    }
    for (; &pXML->open.innermost() != &pXML->root; pXML->open.close()) {
        warn(*pXML, XMLError::unmatchedEndTagWarning, text + length);
    }
    pXML->open.close();
    if (pXML->root.childCount == 0) {
        warn(*pXML, XMLError::noXmlTagFound, text + length);
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
    // Records take three to four times the space of an indented document of short texts. One block
    // for all is given back to the C library, and taken again, without a call of the kernel.
    constexpr size_t kRoomForSmallTrees = 512;
    constexpr size_t kMostRoomAhead = size_t{4} << 20;
    const size_t room = length + 4 * std::min(length, kMostRoomAhead / 4) + kRoomForSmallTrees;
    Document& document = *Document::create(room);
    char* const copy = document.copy(text, length);
    Record& root = support::xml::newRecord(document, nullptr, nullptr, 0, false);
    const XMLNode whole(&root);
    support::xml::ParseContext context(root, settings);
    support::xml::ParseXMLElement(&context, copy, length);
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
