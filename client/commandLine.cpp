#include "client/commandLine.h"

#include <langinfo.h>

#include <CLI/CLI.hpp>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <vector>

#include "client/commands.h"
#include "client/output.h"

namespace client {
namespace {

const option_t globalOptions[] = {
    {"-H,--host", "Host of the agent (default 127.0.0.1)", &arguments_t::host},
    {"-p,--port", "TCP port of the agent (default 9812)", &arguments_t::port, false, {}, 1, 65535},
    {"--timeout",
     "Seconds to wait for the connection and for each read (default 10)",
     &arguments_t::timeoutSeconds,
     false,
     {},
     0.1,
     86400},
    {"--json", "Print JSON for machines instead of tables for people", &arguments_t::json},
};

constexpr const char* footer =
    "Global options may stand before or after the subcommand.\n"
    "\"kalloctl SUBCOMMAND --help\" shows an example.\n\n"
    "Exit status:\n"
    "  0  done\n"
    "  1  the agent refused; its reason is on standard error\n"
    "  2  usage error\n"
    "  3  the agent cannot be reached or talked to, or its answer cannot be written";

void addOption(CLI::App& app, const option_t& row, arguments_t& arguments) {
    CLI::Option* option = std::visit(
        [&](auto member) -> CLI::Option* {
            auto& value = arguments.*member;
            if constexpr (std::is_same_v<decltype(value), bool&>) {
                return app.add_flag(row.names, value, row.help);
            } else {
                return app.add_option(row.names, value, row.help);
            }
        },
        row.target);
    option->required(row.required);
    if (!row.choices.empty()) {
        option->check(
            CLI::IsMember(std::vector<std::string>(row.choices.begin(), row.choices.end())));
    }
    if (row.most > row.least) {
        option->check(CLI::Range(row.least, row.most));
    }
}

void addCommand(CLI::App& app, const command_t& row, arguments_t& arguments) {
    CLI::App* command = app.add_subcommand(row.name, row.help);
    for (const option_t& option : row.options) {
        addOption(*command, option, arguments);
    }
    std::string text = row.notes;
    text += text.empty() ? "" : "\n\n";
    command->footer(text + "Example:\n  " + row.example);
}

const command_t& chosenCommand(const CLI::App& app) {
    const std::string& name = app.get_subcommands().front()->get_name();
    for (const command_t& row : commands()) {
        if (name == row.name) {
            return row;
        }
    }
    return commands().front();  // the parser knows no other names than those of the table
}

// The widths of characters come from the locale; the agent's texts are UTF-8 whatever it says.
void useUtf8() {
    if (setlocale(LC_CTYPE, "") == nullptr || strcmp(nl_langinfo(CODESET), "UTF-8") != 0) {
        setlocale(LC_CTYPE, "C.UTF-8");
    }
}

}  // namespace

int runCommandLine(int argc, const char* const* argv) {
    useUtf8();
    arguments_t arguments;
    CLI::App app("Command-line companion of the television agent kalloagent", "kalloctl");
    app.set_version_flag("--version", "kalloctl " KALLO_VERSION);
    app.footer(footer);
    app.fallthrough();
    app.require_subcommand(1);
    for (const option_t& option : globalOptions) {
        addOption(app, option, arguments);
    }
    for (const command_t& row : commands()) {
        addCommand(app, row, arguments);
    }
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? exitDone : exitUsage;
    }
    const int status = chosenCommand(app).run(arguments);
    return finishOutput() ? status : exitFailed;
}

}  // namespace client
