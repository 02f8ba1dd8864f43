#include "support/process/wordSplit.h"

#include <utility>

namespace support {
namespace {

/// Gathers characters into words.
class WordGatherer {
  public:
    void take(char character) {
        m_word += character;
        m_isOpen = true;
    }
    /// Begins a word that may stay empty.
    void open() { m_isOpen = true; }
    void finishWord() {
        if (m_isOpen) {
            m_words.push_back(std::exchange(m_word, {}));
            m_isOpen = false;
        }
    }
    std::vector<std::string> finish() {
        finishWord();
        return std::move(m_words);
    }

  private:
    std::vector<std::string> m_words;
    std::string m_word;
    bool m_isOpen = false;
};

constexpr bool isQuote(char character) {
    return character == '"' || character == '\'';
}

}  // namespace

std::vector<std::string> splitWords(std::string_view text) {
    WordGatherer words;
    bool isQuoted = false;
    char quote = '\0';
    for (size_t at = 0; at < text.size(); ++at) {
        const char character = text[at];
        if (character == '\\') {
            if (++at < text.size()) {
                words.take(text[at]);
            }
        } else if (isQuoted ? character == quote : isQuote(character)) {
            isQuoted = !isQuoted;
            quote = character;
            words.open();
        } else if (character == ' ' && !isQuoted) {
            words.finishWord();
        } else {
            words.take(character);
        }
    }
    return words.finish();
}

}  // namespace support
