// Tokens of a document, cut out of its text.
#include "support/xmlTokens.h"

#include <cstring>

#include "support/xmlCharacters.h"

namespace support::xml {

namespace {

constexpr ClearTag clearTags[] = {
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

}  // namespace

const ClearTag& commentTag = clearTags[2];

Token Tokeniser::takeMarkup_() {
    for (const ClearTag& tag : clearTags) {
        if (m_position[1] == tag.open[1] &&
            std::strncmp(m_position, tag.open, tag.openLength) == 0) {
            return take_(TokenKind::clearSection, tag.openLength, &tag);
        }
    }
    switch (m_position[1]) {
        case '/':
            return take_(TokenKind::endTagStart, 2);
        case '?':
            return take_(TokenKind::declarationStart, 2);
        default:
            return take_(TokenKind::tagStart, 1);
    }
}

Token Tokeniser::takeWord_() {
    char* end = findClass(m_position + 1, wordStop);
    while (*end == '/' && end[1] != '>') {
        end = findClass(end + 1, wordStop);
    }
    return take_(TokenKind::text, static_cast<size_t>(end - m_position));
}

Token Tokeniser::next() {
    m_position = skipSpace(m_position);
    switch (*m_position) {
        case '\0':
            return take_(TokenKind::end, 0);
        case '<':
            return takeMarkup_();
        case '>':
            return take_(TokenKind::tagClose, 1);
        case '=':
            return take_(TokenKind::equals, 1);
        case '/':
            return m_position[1] == '>' ? take_(TokenKind::shortHandClose, 2) : takeWord_();
        case '"':
        case '\'':
            if (const char* const close = closingQuote(m_position); close != nullptr) {
                return take_(TokenKind::quotedText, static_cast<size_t>(close + 1 - m_position));
            }
            return takeWord_();
        default:
            return takeWord_();
    }
}

TextPiece Tokeniser::nextPiece() {
    TextPiece piece{m_position, m_position, true};
    char* position = m_position;
    char* tokenStart = m_position;  // behind the last quoted text
    for (;; ++position) {
        position = findClass(position, pieceStop);
        if (*position == '<' || *position == '\0') {
            break;
        }
        piece.isPlain = false;
        if (*position == '>') {
            position -= position > tokenStart && position[-1] == '/' ? 1 : 0;
            break;
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
    piece.end = m_position = position;
    return piece;
}

char* Tokeniser::clearContentEnd(const ClearTag& tag) {
    char* const end = std::strstr(m_position, tag.close);
    if (end != nullptr) {
        m_position = end + std::strlen(tag.close);
    }
    return end;
}

bool Tokeniser::isBeforeTagClose() {
    m_position = skipSpace(m_position);
    return *m_position == '>';
}

}  // namespace support::xml
