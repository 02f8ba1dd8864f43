#include "nasbox/toolArguments.h"

std::optional<ToolArguments> parseToolArguments(int argc, char** argv, bool takesDefault) {
    ToolArguments arguments;
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word == "--help") {
            arguments.help = true;
        } else if (word == "-f" || word == "-d") {
            if (++i == argc || (word == "-d" && !takesDefault)) {
                return std::nullopt;
            }
            if (word == "-f") {
                arguments.file = argv[i];
            } else {
                arguments.fallback = argv[i];
            }
        } else {
            arguments.words.push_back(word);
        }
    }
    return arguments;
}
