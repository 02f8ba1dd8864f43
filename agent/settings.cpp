#include "agent/settings.h"

#include <cstdlib>

#include "packages/registry.h"
#include "support/commandOutput.h"
#include "support/commandRunner.h"

namespace settings {
namespace {

constexpr const char* kWriteTool = "/sbin/wrconf";
constexpr const char* kFileBelowHome = "/.config/ZELV/KALLO.conf";

}  // namespace

std::string path() {
    const char* home = getenv("HOME");
    return std::string(home == nullptr ? "" : home) + kFileBelowHome;
}

std::optional<std::string> read(const char* section, const char* key, const char* fallback,
                                size_t limit) {
    std::vector<std::string> words{packages::kReadTool, section, key};
    if (fallback != nullptr) {
        words.insert(words.end(), {"-d", fallback});
    }
    words.insert(words.end(), {"-f", path()});
    return support::readCommandOutput(words, limit);
}

void write(const char* section, const char* key, const std::vector<std::string>& values) {
    const std::string file = path();
    if (values.empty()) {
        exec_run(kWriteTool, section, key, "-f", file.c_str(), nullptr);
    } else {
        exec_run(kWriteTool, section, key, values.front().c_str(), "-f", file.c_str(), nullptr);
    }
}

}  // namespace settings
