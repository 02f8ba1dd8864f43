#include "client/input.h"

#include <bsd/readpassphrase.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>

namespace client {
namespace {

constexpr size_t kLineLimit = 4096;

// Byte by byte, so that nothing behind the line is taken.
std::optional<std::string> readLine() {
    std::string line;
    char byte = 0;
    while (line.size() <= kLineLimit) {
        const ssize_t count = read(STDIN_FILENO, &byte, 1);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count == 1 && byte != '\n') {
            line += byte;
            continue;
        }
        return count < 0 || (count == 0 && line.empty()) ? std::nullopt : std::optional(line);
    }
    return std::nullopt;
}

}  // namespace

std::optional<std::string> readStandardInput(size_t limit) {
    std::string text;
    char buffer[4096];
    while (text.size() < limit) {
        const ssize_t count = read(STDIN_FILENO, buffer, sizeof buffer);
        if (count < 0 && errno != EINTR) {
            return std::nullopt;
        }
        if (count == 0) {
            break;
        }
        text.append(buffer, count > 0 ? static_cast<size_t>(count) : 0);
    }
    text.resize(std::min(text.size(), limit));
    return text;
}

std::optional<std::string> readPassword(const char* prompt, bool ask) {
    if (!ask || isatty(STDIN_FILENO) != 1) {
        return readLine();
    }
    char line[kLineLimit + 1];
    if (readpassphrase(prompt, line, sizeof line, RPP_ECHO_OFF | RPP_REQUIRE_TTY) == nullptr) {
        return std::nullopt;
    }
    return line;
}

}  // namespace client
