// The text of a document as a stream of tokens, each a piece of the text itself. Internal to the
// XML library, called by its parser.
#pragma once

#include <cstddef>
#include <cstdint>

#include "support/xml/characters.h"

namespace support::xml {

enum class TokenKind : uint8_t {
    text = 0,
    quotedText = 1,
    tagStart = 2,
    endTagStart = 3,
    tagClose = 4,
    equals = 5,
    declarationStart = 6,
    shortHandClose = 7,
    clearSection = 8,
    end = 9,
};

/// A kind of section that is kept as it is written.
struct ClearTag {
    const char* open;
    size_t openLength;
    const char* close;
};

/// The one kind of clear section that texts may be merged around.
extern const ClearTag& commentTag;

struct Token {
    TokenKind kind;
    char* begin;  // in front of the quote or the marker; `end` is behind it
    char* end;
    const ClearTag* clearTag;  // of a clear-section opener

    /// Bytes of a text token.
    uint32_t length() const { return static_cast<uint32_t>(end - begin); }
};

/// The text between two tags.
struct TextPiece {
    char* begin;
    char* text;  // behind the white space at the beginning
    char* end;
    bool isPlain;  // holds no character that could be an entity or need escaping
};

/// Walks a text that ends with a zero byte and is never changed in front of the position reached.
class Tokeniser {
  public:
    explicit Tokeniser(char* text) : m_position(text) {}

    /// The next token, white space in front of it skipped. At the end it is the end token for ever.
    Token next();
    /// The bytes up to the next "<" or the end, as they stand. A tag close in between is where the
    /// piece ends, too: it is the next token then.
    TextPiece nextPiece();
    /// The content of a clear section, up to its closing marker, which is skipped; null when there
    /// is no such marker.
    char* clearContentEnd(const ClearTag& tag);
    /// Whether the next token is a tag close.
    bool isBeforeTagClose();

    char* position() const { return m_position; }

  private:
    Token take_(TokenKind kind, size_t length, const ClearTag* clearTag = nullptr) {
        char* const begin = m_position;
        m_position += length;
        return {kind, begin, m_position, clearTag};
    }
    Token takeWord_();
    Token takeMarkup_();
    Token takeSpecialMarkup_();
    Token takeQuoted_();
    char* findPieceEnd_(char* position);

    char* m_position;
};

// What every element of a document passes through is inline.

inline Token Tokeniser::takeWord_() {
    char* end = findClass(m_position + 1, wordStop);
    while (*end == '/' && end[1] != '>') {
        end = findClass(end + 1, wordStop);
    }
    return take_(TokenKind::text, static_cast<size_t>(end - m_position));
}

inline Token Tokeniser::takeMarkup_() {
    if (m_position[1] == '/') {
        return take_(TokenKind::endTagStart, 2);
    }
    return isA(m_position[1], markupStart) ? takeSpecialMarkup_() : take_(TokenKind::tagStart, 1);
}

[[gnu::always_inline]] inline Token Tokeniser::next() {
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
            return takeQuoted_();
        default:
            return takeWord_();
    }
}

inline TextPiece Tokeniser::nextPiece() {
    char* const begin = m_position;
    char* const text = skipSpace(begin);
    char* end = findClass(text, pieceStop);
    const bool isPlain = *end == '<' || *end == '\0';
    if (!isPlain) {
        end = findPieceEnd_(end);
    }
    m_position = end;
    return {begin, text, end, isPlain};
}

inline bool Tokeniser::isBeforeTagClose() {
    m_position = skipSpace(m_position);
    return *m_position == '>';
}

}  // namespace support::xml
