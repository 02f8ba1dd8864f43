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
    fwrite(value.data(), 1, value.size(), stdout);
    putchar('\n');
    return fflush(stdout) == 0 ? toolDone : toolFailed;
}

}  // namespace

int main(int argc, char** argv) {
    const std::optional<ToolArguments> arguments = parseToolArguments(argc, argv, true);
    if (arguments && arguments->help) {
        fputs(kUsage, stdout);
        return toolDone;
    }
    if (!arguments || arguments->words.size() != 2) {
        fputs(kUsage, stderr);
        return toolUsage;
    }
    IniFile file;
    if (file.load(arguments->file) != 0) {
        fprintf(stderr, "rdconf: %s: %s\n", arguments->file.c_str(), strerror(errno));
    }
    const std::optional<std::string> value = file.value(arguments->words[0], arguments->words[1]);
    if (value || arguments->fallback) {
        return print(value ? *value : *arguments->fallback);
    }
    return toolAbsent;
}
