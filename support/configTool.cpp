#include "support/configTool.h"

#include "support/serverPaths.h"

namespace support {

std::vector<std::string> configReadWords(const std::string& section, const std::string& key,
                                         const char* fallback, const std::string& file) {
    std::vector<std::string> words{server::kReadTool, section, key};
    if (fallback != nullptr) {
        words.insert(words.end(), {"-d", fallback});
    }
    words.insert(words.end(), {"-f", file});
    return words;
}

}  // namespace support
