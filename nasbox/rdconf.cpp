// rdconf: prints a value of one of the NAS's INI files. Called by the agent, by scripts of packages
// and by administrators.
#include <cerrno>
#include <cstdio>
#include <cstring>

#include "nasbox/iniFile.h"
#include "nasbox/toolArguments.h"

namespace {

constexpr char kUsage[] =
    "Usage: rdconf SECTION KEY [-d DEFAULT] [-f FILE]\n"
    "Prints the value of KEY in the first section named SECTION, and a line feed. A value that is\n"
    "not there is answered with DEFAULT, or with nothing. FILE: /etc/config/uVelt.conf when not\n"
    "given; a file that does not exist holds no values.\n"
    "Exit status: 0 printed, 1 no such value and no default, 2 wrong arguments.\n";

int print(const std::string& value) {
    std::fwrite(value.data(), 1, value.size(), stdout);
    std::putchar('\n');
    return std::fflush(stdout) == 0 ? kToolDone : kToolFailed;
}

}  // namespace

int main(int argc, char** argv) {
    const std::optional<ToolArguments> arguments = parseToolArguments(argc, argv, true);
    if (arguments && arguments->help) {
        std::fputs(kUsage, stdout);
        return kToolDone;
    }
    if (!arguments || arguments->words.size() != 2) {
        std::fputs(kUsage, stderr);
        return kToolUsage;
    }
    IniFile file;
    if (file.load(arguments->file) != 0) {
        std::fprintf(stderr, "rdconf: %s: %s\n", arguments->file.c_str(), std::strerror(errno));
    }
    const std::optional<std::string> value = file.value(arguments->words[0], arguments->words[1]);
    if (value || arguments->fallback) {
        return print(value ? *value : *arguments->fallback);
    }
    return kToolAbsent;
}
