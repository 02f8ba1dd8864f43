// The text of a document as a stream of tokens, each a piece of the text itself. Internal to the
// XML library, called by its parser.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

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
    char* begin;               // in front of the quote or the marker
    char* end;                 // behind it: where the next token is looked for
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

// All of these take a position in a text that ends with a zero byte and that has not been changed
// from there on. What every element of a document passes through is inline.

/// The first token at or behind `position`; at the end of the text, the end token.
Token nextToken(char* position);

/// The bytes from `position` up to the next "<" or the end, as they stand. A tag close in between
/// is where the piece ends, too: it is the next token then.
inline TextPiece nextPiece(char* position);

/// The token behind a piece of text.
inline Token nextMarkup(char* pieceEnd);

/// Whether the token at or behind `position` is a tag close.
inline bool isBeforeTagClose(char* position) {
    return *skipSpace(position) == '>';
}

/// The end of a piece of text from `begin` that is not plain: the first character that may be an
/// entity, a quote or a tag close stands at `position`.
char* findPieceEnd(const char* begin, char* position);

/// The token at `position`, where "<" stands in front of a character that some markers begin with.
Token specialMarkup(char* position);

/// The end of the word that begins at `position`.
inline char* wordEnd(char* position) {
    char* end = findClass(position + 1, wordStop);
    while (*end == '/' && end[1] != '>') {
        end = findClass(end + 1, wordStop);
    }
    return end;
}

/// The same as `nextToken`, made for where a word is expected without white space in front of it.
inline Token nextWord(char* position) {
    return isA(*position, wordStart) ? Token{TokenKind::text, position, wordEnd(position), nullptr}
                                     : nextToken(position);
}

/// When an end tag whose name is looked for at `position` is just `name` and ">", the position
/// behind it; otherwise null.
inline char* behindEndTag(char* position, const char* name, uint32_t length) {
    // As a token of its own, a name with these characters could mean something else.
    const bool isPlain = isA(name[0], wordStart) && name[length - 1] != '/';
    return isPlain && sameBytes(position, name, length) && position[length] == '>'
               ? position + length + 1
               : nullptr;
}

inline TextPiece nextPiece(char* position) {
    char* const text = skipSpace(position);
    char* const stop = findClass(text, pieceStop);
    if (*stop == '<' || *stop == '\0') {
        return {position, text, stop, true};
    }
    return {position, text, findPieceEnd(position, stop), false};
}

inline Token nextMarkup(char* pieceEnd) {
    if (*pieceEnd != '<') {
        return nextToken(pieceEnd);
    }
    if (pieceEnd[1] == '/') {
        return {TokenKind::endTagStart, pieceEnd, pieceEnd + 2, nullptr};
    }
    if (isA(pieceEnd[1], markupStart)) {
        return specialMarkup(pieceEnd);
    }
    return {TokenKind::tagStart, pieceEnd, pieceEnd + 1, nullptr};
}

}  // namespace support::xml
