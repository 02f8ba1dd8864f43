// Cutting a command text into words. The whole input is the text.
#include <cassert>

#include "fuzz/target.h"
#include "support/process/wordSplit.h"

namespace {

/// The words as a text that has to be cut into them again.
template <typename Quote>
std::string join(const std::vector<std::string>& words, Quote quote) {
    std::string text;
    for (const std::string& word : words) {
        text += quote(word) + "  ";
    }
    return text;
}

/// The word between quotes, everything that ends or escapes within them escaped.
std::string quoted(const std::string& word, char quote) {
    std::string text(1, quote);
    for (const char character : word) {
        if (character == quote || character == '\\') {
            text += '\\';
        }
        text += character;
    }
    return text + quote;
}

std::string escaped(const std::string& word) {
    std::string text = word.empty() ? "''" : "";
    for (const char character : word) {
        text += {'\\', character};
    }
    return text;
}

std::vector<std::string> splitAtBlanks(std::string_view text) {
    std::vector<std::string> words;
    while (!text.empty()) {
        if (const std::string_view word = fuzz::takePart(text, " "); !word.empty()) {
            words.emplace_back(word);
        }
    }
    return words;
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view text = fuzz::textOf(data, size);
    const std::vector<std::string> words = support::splitWords(text);
    if (text.find_first_of("\\\"'") == std::string_view::npos) {
        assert(words == splitAtBlanks(text));
    }
    assert(support::splitWords(
               join(words, [](const std::string& word) { return quoted(word, '\''); })) == words);
    assert(support::splitWords(
               join(words, [](const std::string& word) { return quoted(word, '"'); })) == words);
    assert(support::splitWords(join(words, escaped)) == words);
    // The value of a request stands between quotes in a command of the agent.
    const std::string pasted = "/bin/echo '" + std::string(text) + "' | /usr/bin/base64 -d";
    const std::vector<std::string> command = support::splitWords(pasted);
    assert(command.size() >= 2 && command.front() == "/bin/echo");
    if (text.find_first_of("\\'") == std::string_view::npos) {
        assert(command == (std::vector<std::string>{"/bin/echo", std::string(text), "|",
                                                    "/usr/bin/base64", "-d"}));
    }
    return 0;
}
