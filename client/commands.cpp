#include "client/commands.h"

#include <algorithm>

#include "support/protocol.h"

namespace client {
namespace {

constexpr const char* kDevices[] = {protocol::kPhone, protocol::kPad};
constexpr const char* kYesOrNo[] = {"yes", "no"};
constexpr const char* kPackageHelp = "Name of the package, as listed by \"kalloctl list\"";

/// The least and the most of a time, in seconds.
constexpr double kShortest = 0.1;
constexpr double kLongest = 86400;

const Option kGlobalOptions[] = {
    {.names = "-H,--host",
     .help = "Host of the agent: NAME, NAME:PORT or [IPV6]:PORT (default 127.0.0.1)",
     .target = &Arguments::host,
     .environment = "KALLO_HOST",
     .kind = ValueKind::host},
    {.names = "-p,--port",
     .help = "TCP port of the agent (default 9812)",
     .target = &Arguments::port,
     .least = 1,
     .most = 65535},
    {.names = "--timeout",
     .help = "Seconds to wait for the connection and for each read (default 10)",
     .target = &Arguments::timeoutSeconds,
     .least = kShortest,
     .most = kLongest},
    {.names = "--json",
     .help = "Print JSON for machines instead of tables for people",
     .target = &Arguments::json},
};

const Option kWatchOptions[] = {
    {.names = "-i,--interval",
     .help = "Seconds between two polls (default 2)",
     .target = &Arguments::intervalSeconds,
     .least = kShortest,
     .most = kLongest},
};
const Option kListOptions[] = {
    {.names = "--names",
     .help = "Print the package names alone, one a line",
     .target = &Arguments::namesOnly},
};
const Option kIconOptions[] = {
    {.names = "PACKAGE",
     .help = kPackageHelp,
     .target = &Arguments::package,
     .kind = ValueKind::package,
     .required = true},
    {.names = "DEVICE",
     .help = "Which of its icons",
     .target = &Arguments::device,
     .choices = kDevices,
     .required = true},
    {.names = "-o,--output",
     .help = "File to write, \"-\" for standard output",
     .target = &Arguments::output,
     .kind = ValueKind::file,
     .required = true},
};
const Option kLaunchOptions[] = {
    {.names = "PACKAGE",
     .help = kPackageHelp,
     .target = &Arguments::package,
     .kind = ValueKind::package,
     .required = true},
    {.names = "--wait",
     .help = "Seconds to wait for its window (30 when no number follows)",
     .target = &Arguments::waitSeconds,
     .least = kShortest,
     .most = kLongest,
     .bare = "30"},
};
const Option kAutoLoginOptions[] = {
    {.names = "CHOICE",
     .help = "Whether to log in automatically",
     .target = &Arguments::choice,
     .choices = kYesOrNo,
     .required = true},
};
const Option kLoginOptions[] = {
    {.names = "USER",
     .help = "Name of the server user",
     .target = &Arguments::user,
     .kind = ValueKind::user,
     .required = true},
    {.names = "--plain",
     .help = "Send user and password unenciphered (Login2)",
     .target = &Arguments::plain},
    {.names = "--password-stdin",
     .help = "Read the password from standard input, up to its first line end",
     .target = &Arguments::passwordStdin},
};
const Option kRawOptions[] = {
    {.names = "XML",
     .help = "The request document, \"-\" to read it from standard input",
     .target = &Arguments::request,
     .required = true},
    {.names = "--local",
     .help = "Send it to the local channel instead of the TCP port",
     .target = &Arguments::local},
};
const Option kHelpOptions[] = {
    {.names = "SUBCOMMAND",
     .help = "Which one",
     .target = &Arguments::topic,
     .kind = ValueKind::subcommand},
};

const Command kRows[] = {
    {.name = "status",
     .help = "Show the open windows and whether the package list was refreshed",
     .notes = "Asking clears the refreshed mark: another client that polls will not see it.",
     .example = "kalloctl status --host nas.local",
     .run = runStatus},
    {.name = "watch",
     .help = "Print a line for each change of the windows and of the package list",
     .notes = "Windows that are open at the start are not printed. An agent that goes away later "
              "is waited for. Ends with status 0 on SIGINT or SIGTERM.",
     .example = "kalloctl watch --interval 5 --json",
     .options = kWatchOptions,
     .run = runWatch},
    {.name = "list",
     .help = "List the packages that the current user may start",
     .example = "kalloctl list --json",
     .options = kListOptions,
     .run = runList},
    {.name = "icon",
     .help = "Fetch a package's icon",
     .notes = "The file is written whole or not at all. With --json, file and size in bytes are "
              "told. An icon is never written to a terminal.",
     .example = "kalloctl icon Player phone -o player.png",
     .options = kIconOptions,
     .run = runIcon},
    {.name = "launch",
     .help = "Start a package on the screen",
     .notes = "With --wait it ends when a window is up that was not before, and fails when none "
              "comes in time. Asking for the windows clears the refreshed mark.",
     .example = "kalloctl launch Player --wait",
     .options = kLaunchOptions,
     .run = runLaunch},
    {.name = "kill-all",
     .help = "Stop every package",
     .notes = "The agent sends no answer; it closes the connection when the stop commands have "
              "ended.",
     .example = "kalloctl kill-all --timeout 60",
     .run = runKillAll},
    {.name = "user",
     .help = "Show who is logged in to the desktop",
     .example = "kalloctl user",
     .run = runUser},
    {.name = "settings",
     .help = "Show the desktop's login setting",
     .notes = "With --json it is AutoLogin, the wire's name for the stored RequireLogin value, "
              "\"no\" when there is none.",
     .example = "kalloctl settings",
     .run = runSettings},
    {.name = "auto-login",
     .help = "Switch the desktop's automatic login",
     .notes = "Present agents refuse this with \"paramter_required\" whatever is sent.",
     .example = "kalloctl auto-login yes",
     .options = kAutoLoginOptions,
     .run = runAutoLogin},
    {.name = "login",
     .help = "Log a server user in to the desktop",
     .notes = "The password is asked for, or read from standard input. User and password may have "
              "47 bytes each; with --plain, 63 and 48. --plain lets anybody on the way read the "
              "password, and \"kalloctl password\" cannot give it back afterwards.",
     .example = "kalloctl login anna --password-stdin < password.txt",
     .options = kLoginOptions,
     .run = runLogin},
    {.name = "logout",
     .help = "Log the current user out of the desktop",
     .notes = "The agent sends no answer; it closes the connection when it is done.",
     .example = "kalloctl logout",
     .run = runLogout},
    {.name = "password",
     .help = "Show the password stored by the last login",
     .notes = "Works on the server itself, over the local channel /tmp/.kalloagent.channel. "
              "Meaningful after a login without --plain.",
     .example = "kalloctl password",
     .run = runPassword},
    {.name = "raw",
     .help = "Send any request; show announcement and answer as they are",
     .notes = "Control characters are made harmless only on a terminal. A refusal inside the "
              "answer does not change the exit status.",
     .example = "kalloctl raw '<ZelvDocRoot><cmd>GetStatus</cmd></ZelvDocRoot>'",
     .options = kRawOptions,
     .run = runRaw},
    {.name = "discover",
     .help = "List the servers of the network that announce themselves",
     .notes = "Asks the Avahi daemon of this machine; --timeout bounds the search.",
     .example = "kalloctl discover",
     .run = runDiscover},
    {.name = "doctor",
     .help = "Look over the server that this runs on: tools, files, packages, port",
     .notes = "For root on the server. Each row is ok, warning or failed, with a remedy; the exit "
              "status is 1 when one has failed. Nothing is changed.",
     .example = "kalloctl doctor --json",
     .run = runDoctor},
    {.name = "help",
     .help = "Show the help text, or that of a subcommand",
     .example = "kalloctl help launch",
     .options = kHelpOptions,
     .run = runHelp},
};

}  // namespace

std::span<const Option> globalOptions() {
    return kGlobalOptions;
}

std::span<const Command> commands() {
    return kRows;
}

const Command* findCommand(std::string_view name) {
    const auto* const row = std::ranges::find(kRows, name, &Command::name);
    return row == std::end(kRows) ? nullptr : row;
}

}  // namespace client
