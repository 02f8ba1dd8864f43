#include "client/safeText.h"

#include <cwchar>

namespace client {
namespace {

constexpr char32_t invalid = 0xFFFFFFFF;
constexpr std::string_view replacement = "\xEF\xBF\xBD";  // U+FFFD

struct range_t {
    char32_t first;
    char32_t last;
};

constexpr range_t harmful[] = {
    {0x00, 0x1F},      // C0 controls, ESC among them
    {0x7F, 0x9F},      // DEL and the C1 controls
    {0x061C, 0x061C},  // marks that change the writing direction
    {0x200E, 0x200F},
    {0x2028, 0x202E},  // line and paragraph separators, direction embeddings and overrides
    {0x2066, 0x2069},  // direction isolates
    {invalid, invalid},
};

bool isHarmful(char32_t character) {
    for (const range_t& range : harmful) {
        if (character >= range.first && character <= range.last) {
            return true;
        }
    }
    return false;
}

struct decoded_t {
    char32_t character;
    size_t length;
};

// By the lead byte: how many bytes, and the least character that needs so many.
struct lead_t {
    size_t length;
    char32_t least;
    unsigned char mask;
    unsigned char value;
};
constexpr lead_t leads[] = {
    {1, 0, 0x80, 0x00}, {2, 0x80, 0xE0, 0xC0}, {3, 0x800, 0xF0, 0xE0}, {4, 0x10000, 0xF8, 0xF0}};

bool isScalar(char32_t character) {
    const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
    return character <= 0x10FFFF && !surrogate;
}

// The first character of a text that is not empty; a byte that starts none is `invalid`.
decoded_t decodeFirst(std::string_view text) {
    const auto first = static_cast<unsigned char>(text.front());
    for (const lead_t& lead : leads) {
        if ((first & lead.mask) != lead.value) {
            continue;
        }
        char32_t character = first & static_cast<unsigned char>(~lead.mask);
        for (size_t i = 1; i < lead.length; ++i) {
            if (i >= text.size() || (static_cast<unsigned char>(text[i]) & 0xC0) != 0x80) {
                return {invalid, 1};
            }
            character = character << 6 | (static_cast<unsigned char>(text[i]) & 0x3F);
        }
        if (character < lead.least || !isScalar(character)) {
            return {invalid, 1};
        }
        return {character, lead.length};
    }
    return {invalid, 1};
}

}  // namespace

std::string safeText(std::string_view text, controls_t kept) {
    std::string safe;
    safe.reserve(text.size());
    while (!text.empty()) {
        const auto [character, length] = decodeFirst(text);
        const bool layout = character == '\n' || character == '\t';
        const bool keep = layout ? kept == controls_t::lineFeedAndTab : !isHarmful(character);
        safe += keep ? text.substr(0, length) : replacement;
        text.remove_prefix(length);
    }
    return safe;
}

size_t displayWidth(std::string_view text) {
    size_t width = 0;
    while (!text.empty()) {
        const auto [character, length] = decodeFirst(text);
        const int columns = character == invalid ? 1 : wcwidth(static_cast<wchar_t>(character));
        width += columns < 0 ? 1 : static_cast<size_t>(columns);
        text.remove_prefix(length);
    }
    return width;
}

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        const auto [character, length] = decodeFirst(text);
        if (character == invalid) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

}  // namespace client
