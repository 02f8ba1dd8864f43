#include "support/commandOutput.h"

#include <cstdio>

#include "support/commandRunner.h"

namespace support {

std::optional<std::string> readCommandOutput(const std::vector<std::string>& words, size_t limit) {
    std::vector<std::string> copies(words);
    std::string background = "&";
    std::vector<char*> argv;
    argv.reserve(copies.size() + 2);
    for (std::string& word : copies) {
        argv.push_back(word.data());
    }
    // Detached, as every stream of the command runner's own wrappers is: a command that goes on
    // after the bytes wanted holds nobody up.
    argv.push_back(background.data());
    argv.push_back(nullptr);
    FILE* stream = exec_open_stream("r", nullptr, nullptr, 0, argv.data());
    if (stream == nullptr) {
        return std::nullopt;
    }
    std::string output(limit, '\0');
    output.resize(fread(output.data(), 1, limit, stream));
    exec_pclose(stream);
    return output;
}

}  // namespace support
