#include "client/commands.h"

namespace client {
namespace {

constexpr const char* devices[] = {"phone", "pad"};
constexpr const char* yesOrNo[] = {"yes", "no"};

const option_t watchOptions[] = {
    {"-i,--interval",
     "Seconds between two polls (default 2)",
     &arguments_t::intervalSeconds,
     false,
     {},
     0.1,
     86400},
};
const option_t listOptions[] = {
    {"--names", "Print the package names alone, one a line", &arguments_t::namesOnly},
};
const option_t iconOptions[] = {
    {"PACKAGE", "Name of the package, as listed by \"kalloctl list\"", &arguments_t::package, true},
    {"DEVICE", "Which of its icons", &arguments_t::device, true, devices},
    {"-o,--output", "File to write, \"-\" for standard output", &arguments_t::output, true},
};
const option_t launchOptions[] = {
    {"PACKAGE", "Name of the package, as listed by \"kalloctl list\"", &arguments_t::package, true},
};
const option_t autoLoginOptions[] = {
    {"CHOICE", "Whether to log in automatically", &arguments_t::choice, true, yesOrNo},
};
const option_t loginOptions[] = {
    {"USER", "Name of the server user", &arguments_t::user, true},
    {"--plain", "Send user and password unenciphered (Login2)", &arguments_t::plain},
    {"--password-stdin", "Read the password from standard input, up to its first line end",
     &arguments_t::passwordStdin},
};
const option_t rawOptions[] = {
    {"XML", "The request document, \"-\" to read it from standard input", &arguments_t::request,
     true},
    {"--local", "Send it to the local channel instead of the TCP port", &arguments_t::local},
};

const command_t rows[] = {
    {"status",
     "Show the open windows and whether the package list was refreshed",
     "Asking clears the refreshed mark: another client that polls will not see it.",
     "kalloctl status --host nas.local",
     {},
     runStatus},
    {"watch", "Print a line for each change of the windows and of the package list",
     "Windows that are open at the start are not printed. An agent that goes away later is "
     "waited for. Ends with status 0 on SIGINT or SIGTERM.",
     "kalloctl watch --interval 5 --json", watchOptions, runWatch},
    {"list", "List the packages that the current user may start", "", "kalloctl list --json",
     listOptions, runList},
    {"icon", "Fetch a package's icon", "The file is written whole or not at all.",
     "kalloctl icon Player phone -o player.png", iconOptions, runIcon},
    {"launch", "Start a package on the screen", "", "kalloctl launch Player", launchOptions,
     runLaunch},
    {"kill-all",
     "Stop every package",
     "The agent sends no answer; it closes the connection when the stop commands have ended.",
     "kalloctl kill-all --timeout 60",
     {},
     runKillAll},
    {"user", "Show who is logged in to the desktop", "", "kalloctl user", {}, runUser},
    {"settings",
     "Show the desktop's login setting",
     "AutoLogin is passed on as the agent sends it: the stored RequireLogin value, \"no\" when "
     "there is none.",
     "kalloctl settings",
     {},
     runSettings},
    {"auto-login", "Switch the desktop's automatic login",
     "Present agents refuse this with \"paramter_required\" whatever is sent.",
     "kalloctl auto-login yes", autoLoginOptions, runAutoLogin},
    {"login", "Log a server user in to the desktop",
     "The password is asked for, or read from standard input. User and password may have 47 bytes "
     "each; with --plain, 63 and 48. --plain lets anybody on the way read the password, and "
     "\"kalloctl password\" cannot give it back afterwards.",
     "kalloctl login anna --password-stdin < password.txt", loginOptions, runLogin},
    {"logout",
     "Log the current user out of the desktop",
     "The agent sends no answer; it closes the connection when it is done.",
     "kalloctl logout",
     {},
     runLogout},
    {"password",
     "Show the password stored by the last login",
     "Works on the server itself, over the local channel /tmp/.kalloagent.channel. Meaningful "
     "after a login without --plain.",
     "kalloctl password",
     {},
     runPassword},
    {"raw", "Send any request; show announcement and answer as they are",
     "Control characters are made harmless only on a terminal. A refusal inside the answer does "
     "not change the exit status.",
     "kalloctl raw '<ZelvDocRoot><cmd>GetStatus</cmd></ZelvDocRoot>'", rawOptions, runRaw},
};

}  // namespace

std::span<const command_t> commands() {
    return rows;
}

}  // namespace client
