// wrconf: sets a value of one of the NAS's INI files. Called by the agent, by scripts of packages
// and by administrators.
#include <fcntl.h>
#include <sys/file.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <string>

#include "nasbox/iniFile.h"
#include "nasbox/toolArguments.h"

namespace {

constexpr char kUsage[] =
    "Usage: wrconf SECTION KEY [VALUE] [-f FILE]\n"
    "Sets KEY in the first section named SECTION to VALUE, or to the empty value when none is\n"
    "given. The key, the section and FILE are made when missing; every other line stays as it is.\n"
    "FILE (/etc/config/uVelt.conf when not given) is replaced in one step, keeping its mode and\n"
    "owner.\n"
    "Exit status: 0 written, 1 FILE cannot be read or written, 2 wrong arguments.\n";

/// Lets one writer of a directory's files in at a time, so that two calls never lose a change. The
/// descriptor is held until the process ends. A directory that cannot be locked is used unlocked.
void lockDirectoryOf(const std::string& path) {
    const size_t slash = path.rfind('/');
    const std::string directory = slash == std::string::npos ? "." : path.substr(0, slash + 1);
    const int fd = open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd >= 0) {
        flock(fd, LOCK_EX);
    }
}

int fail(const std::string& file) {
    fprintf(stderr, "wrconf: %s: %s\n", file.c_str(), strerror(errno));
    return toolFailed;
}

}  // namespace

int main(int argc, char** argv) {
    const std::optional<ToolArguments> arguments = parseToolArguments(argc, argv, false);
    if (arguments && arguments->help) {
        fputs(kUsage, stdout);
        return toolDone;
    }
    if (!arguments || arguments->words.size() < 2 || arguments->words.size() > 3) {
        fputs(kUsage, stderr);
        return toolUsage;
    }
    const std::string value = arguments->words.size() == 3 ? arguments->words[2] : std::string();
    lockDirectoryOf(arguments->file);
    IniFile file;
    if (file.load(arguments->file) != 0) {
        return fail(arguments->file);
    }
    if (const char* reason = file.set(arguments->words[0], arguments->words[1], value)) {
        fprintf(stderr, "wrconf: %s\n", reason);
        return toolUsage;
    }
    return file.save(arguments->file) == 0 ? toolDone : fail(arguments->file);
}
