#include "support/commandOutput.h"

#include <utility>

namespace support {

CommandOutput::CommandOutput(std::vector<std::string> words) {
    // Detached, as every stream of the command runner's own wrappers is: a command that goes on
    // after the bytes wanted holds nobody up.
    words.emplace_back("&");
    std::vector<char*> argv;
    argv.reserve(words.size() + 1);
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    m_stream.reset(exec_open_stream("r", nullptr, nullptr, 0, argv.data()));
}

std::optional<std::string> CommandOutput::read(size_t limit) {
    if (m_stream == nullptr) {
        return std::nullopt;
    }
    std::string output(limit, '\0');
    output.resize(fread(output.data(), 1, limit, m_stream.get()));
    m_stream.reset();
    return output;
}

std::optional<std::string> readCommandOutput(std::vector<std::string> words, size_t limit) {
    return CommandOutput(std::move(words)).read(limit);
}

}  // namespace support
