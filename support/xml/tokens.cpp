// Tokens of a document, cut out of its text.
#include "support/xml/tokens.h"

#include <cstring>

#include "support/xml/characters.h"

namespace support::xml {

namespace {

constexpr ClearTag kClearTags[] = {
    {"<![CDATA[", 9, "]]>"},
    {"<!DOCTYPE", 9, ">"},
    {"<!--", 4, "-->"},
    {"<PRE>", 5, "</PRE>"},
};

/// The quote that ends the quoted text opened at `open`, or null when there is none in front of
/// the next "<".
char* closingQuote(char* open) {
    char* position = open + 1;
    for (;; ++position) {
        position = findClass(position, quoteStop);
        if (*position == *open) {
            return position;
        }
        if (*position == '<' || *position == '\0') {
            return nullptr;
        }
    }
}

Token wordAt(char* position) {
    return {TokenKind::text, position, wordEnd(position), nullptr};
}

Token quotedAt(char* position) {
    char* const close = closingQuote(position);
    return close == nullptr ? wordAt(position)
                            : Token{TokenKind::quotedText, position, close + 1, nullptr};
}

}  // namespace

const ClearTag& commentTag = kClearTags[2];

Token nextToken(char* position) {
    position = skipSpace(position);
    switch (*position) {
        case '\0':
            return {TokenKind::end, position, position, nullptr};
        case '<':
            return nextMarkup(position);
        case '>':
            return {TokenKind::tagClose, position, position + 1, nullptr};
        case '=':
            return {TokenKind::equals, position, position + 1, nullptr};
        case '/':
            return position[1] == '>'
                       ? Token{TokenKind::shortHandClose, position, position + 2, nullptr}
                       : wordAt(position);
        case '"':
        case '\'':
            return quotedAt(position);
        default:
            return wordAt(position);
    }
}

Token specialMarkup(char* position) {
    for (const ClearTag& tag : kClearTags) {
        if (strncmp(position, tag.open, tag.openLength) == 0) {
            return {TokenKind::clearSection, position, position + tag.openLength, &tag};
        }
    }
    if (position[1] == '?') {
        return {TokenKind::declarationStart, position, position + 2, nullptr};
    }
    return {TokenKind::tagStart, position, position + 1, nullptr};
}

char* findPieceEnd(const char* begin, char* position) {
    const char* tokenStart = begin;  // behind the last quoted text
    for (;; ++position) {
        position = findClass(position, pieceStop);
        if (*position == '<' || *position == '\0') {
            return position;
        }
        if (*position == '>') {
            return position > tokenStart && position[-1] == '/' ? position - 1 : position;
        }
        // Quotes matter where a token begins: within them, ">" and "/>" are text.
        if (*position != '&' &&
            (position == tokenStart || isA(position[-1], space) || position[-1] == '=')) {
            if (char* const close = closingQuote(position); close != nullptr) {
                position = close;
                tokenStart = close + 1;
            }
        }
    }
}

}  // namespace support::xml
