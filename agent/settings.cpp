#include "agent/settings.h"

#include <unistd.h>

#include <cstdlib>

#include "support/commandOutput.h"
#include "support/commandRunner.h"
#include "support/configTool.h"
#include "support/directories.h"
#include "support/handles.h"
#include "support/serverPaths.h"
#include "support/wholeFile.h"

namespace settings {
namespace {

constexpr const char* kHomeOfRoot = "/root";
constexpr const char* kScreenSettings = "/screen.conf";
constexpr mode_t kDirectoryMode = 0755;

}  // namespace

int prepare() {
    const std::string settings = std::string(kHomeOfRoot) + server::kSettingsBelowHome;
    const std::string directory = settings.substr(0, settings.rfind('/'));
    if (access(directory.c_str(), F_OK) != 0 &&
        support::makeDirectories(directory, kDirectoryMode) != 0) {
        return -1;
    }
    for (const std::string& path : {settings, directory + kScreenSettings}) {
        if (access(path.c_str(), F_OK) != 0) {
            const support::Stream made(fopen(path.c_str(), "w+e"));
        }
    }
    return 0;
}

std::string path() {
    const char* home = getenv("HOME");
    return std::string(home == nullptr ? "" : home) + server::kSettingsBelowHome;
}

std::optional<std::string> read(const char* section, const char* key, const char* fallback,
                                size_t limit) {
    const std::string file = path();
    // The tool would wait at a pipe, and every client with it.
    if (support::mayBlock(file.c_str())) {
        return std::nullopt;
    }
    return support::readCommandOutput(support::configReadWords(section, key, fallback, file),
                                      limit);
}

void write(const char* section, const char* key, const std::vector<std::string>& values) {
    const std::string file = path();
    if (support::mayBlock(file.c_str())) {
        return;
    }
    if (values.empty()) {
        exec_run(server::kWriteTool, section, key, "-f", file.c_str(), nullptr);
    } else {
        exec_run(server::kWriteTool, section, key, values.front().c_str(), "-f", file.c_str(),
                 nullptr);
    }
}

}  // namespace settings
