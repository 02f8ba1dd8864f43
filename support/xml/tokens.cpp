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

}  // namespace

const ClearTag& commentTag = kClearTags[2];

Token Tokeniser::takeSpecialMarkup_() {
    for (const ClearTag& tag : kClearTags) {
        if (strncmp(m_position, tag.open, tag.openLength) == 0) {
            return take_(TokenKind::clearSection, tag.openLength, &tag);
        }
    }
    return m_position[1] == '?' ? take_(TokenKind::declarationStart, 2)
                                : take_(TokenKind::tagStart, 1);
}

Token Tokeniser::takeQuoted_() {
    const char* const close = closingQuote(m_position);
    if (close == nullptr) {
        return takeWord_();
    }
    return take_(TokenKind::quotedText, static_cast<size_t>(close + 1 - m_position));
}

char* Tokeniser::findPieceEnd_(char* position) {
    char* tokenStart = m_position;  // behind the last quoted text
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

char* Tokeniser::clearContentEnd(const ClearTag& tag) {
    char* const end = strstr(m_position, tag.close);
    if (end != nullptr) {
        m_position = end + strlen(tag.close);
    }
    return end;
}

}  // namespace support::xml
