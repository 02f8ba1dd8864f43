// zelvshmenv: the desktop session's environment, shared with programs outside the session. The
// desktop publishes it when a user logs in; the agent reads it to tell who is logged in and to
// start packages with it, and refreshes it after it has noted a logout.
#include <sys/stat.h>
#include <unistd.h>

#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <string_view>
#include <vector>

#include "nasbox/iniFile.h"
#include "support/base64.h"
#include "support/serverPaths.h"
#include "support/wholeFile.h"

namespace {

constexpr char kDirectory[] = "/run/desktop";
constexpr char kEnvironment[] = "/run/desktop/environment";
constexpr std::string_view kUserPrefix = "Nas";

constexpr char kUsage[] =
    "Usage: zelvshmenv -r | -w\n"
    "  -r  prints the published environment of the desktop session as XML: an element ENV with "
    "one\n"
    "      child for each variable, its text the value in base64. Prints nothing when no session\n"
    "      has published one (exit status 1).\n"
    "  -w  publishes the environment of the calling process as that of the desktop session. When\n"
    "      the settings ($HOME/.config/ZELV/KALLO.conf, ZelvRemote, Logout) say \"yes\", the user\n"
    "      has logged out: what is published stays, without the variables of the user (Nas...).\n"
    "Exit status: 0 done, 1 no session or a file that cannot be written, 2 wrong arguments.\n";

/// The variables as "NAME=VALUE", in the order published, or nothing without a session. The file
/// holds them as /proc/PID/environ does (proc(5)): each ended by a NUL byte.
std::vector<std::string> readPublished() {
    std::ifstream file(kEnvironment, std::ios::binary);
    std::vector<std::string> variables;
    for (std::string variable; std::getline(file, variable, '\0');) {
        variables.push_back(variable);
    }
    return variables;
}

/// Replaces the published environment in one step, so that a reader never meets half of it.
int publish(const std::vector<std::string>& variables) {
    std::string text;
    for (const std::string& variable : variables) {
        text += variable + '\0';
    }
    if ((mkdir(kDirectory, 0755) != 0 && errno != EEXIST)) {
        return -1;
    }
    umask(077);  // it is nobody else's
    return support::replaceWholeFile(kEnvironment, text) ? 0 : -1;
}

bool isLoggedOut() {
    const char* home = getenv("HOME");
    IniFile settings;
    return settings.load(std::string(home ? home : "") + server::kSettingsBelowHome) == 0 &&
           settings.value("ZelvRemote", "Logout") == "yes";
}

/// Whether a variable's name can stand as an element's (a shell's function exports cannot).
bool isElementName(std::string_view name) {
    for (const char c : name) {
        if (isalnum(static_cast<unsigned char>(c)) == 0 && c != '_') {
            return false;
        }
    }
    return !name.empty() && isdigit(static_cast<unsigned char>(name.front())) == 0;
}

int readSession() {
    const std::vector<std::string> variables = readPublished();
    if (variables.empty()) {
        return 1;
    }
    std::string text = "<ENV>\n";
    for (const std::string& variable : variables) {
        const size_t equals = variable.find('=');
        const std::string name = variable.substr(0, equals);
        if (equals != std::string::npos && isElementName(name)) {
            text.append("  <").append(name).append(">");
            text.append(support::base64Encode(std::string_view(variable).substr(equals + 1)));
            text.append("</").append(name).append(">\n");
        }
    }
    text += "</ENV>\n";
    fputs(text.c_str(), stdout);
    return fflush(stdout) == 0 ? 0 : 1;
}

int writeSession() {
    std::vector<std::string> variables;
    if (isLoggedOut()) {
        variables = readPublished();
        std::erase_if(variables, [](const std::string& v) { return v.starts_with(kUserPrefix); });
    } else {
        for (char** variable = environ; *variable != nullptr; ++variable) {
            variables.emplace_back(*variable);
        }
    }
    if (publish(variables) != 0) {
        fprintf(stderr, "zelvshmenv: %s: %s\n", kEnvironment, strerror(errno));
        return 1;
    }
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string_view option = argc == 2 ? argv[1] : "";
    if (option == "-r") {
        return readSession();
    }
    if (option == "-w") {
        return writeSession();
    }
    fputs(kUsage, option == "--help" ? stdout : stderr);
    return option == "--help" ? 0 : 2;
}
