#include "client/safeText.h"

#include <algorithm>
#include <cwchar>

#include "support/utf8.h"

namespace client {
namespace {

struct Range {
    char32_t first;
    char32_t last;
};

constexpr Range kHarmful[] = {
    {0x00, 0x1F},      // C0 controls, ESC among them
    {0x7F, 0x9F},      // DEL and the C1 controls
    {0x061C, 0x061C},  // marks that change the writing direction
    {0x200E, 0x200F},
    {0x2028, 0x202E},  // line and paragraph separators, direction embeddings and overrides
    {0x2066, 0x2069},  // direction isolates
    {support::kNoCharacter, support::kNoCharacter},
};

bool isHarmful(char32_t character) {
    return std::ranges::any_of(kHarmful, [character](const Range& range) {
        return character >= range.first && character <= range.last;
    });
}

}  // namespace

std::string safeText(std::string_view text, Controls kept) {
    std::string safe;
    safe.reserve(text.size());
    while (!text.empty()) {
        const auto [character, length] = support::firstUtf8Character(text);
        const bool layout = character == '\n' || character == '\t';
        const bool keep = layout ? kept == Controls::lineFeedAndTab : !isHarmful(character);
        safe += keep ? text.substr(0, length) : support::kReplacementCharacter;
        text.remove_prefix(length);
    }
    return safe;
}

size_t displayWidth(std::string_view text) {
    size_t width = 0;
    while (!text.empty()) {
        const auto [character, length] = support::firstUtf8Character(text);
        const int columns =
            character == support::kNoCharacter ? 1 : wcwidth(static_cast<wchar_t>(character));
        width += columns < 0 ? 1 : static_cast<size_t>(columns);
        text.remove_prefix(length);
    }
    return width;
}

}  // namespace client
