#include "client/commandLine.h"

#include <langinfo.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <vector>

#include "client/commands.h"
#include "client/output.h"
#include "client/safeText.h"

namespace client {
namespace {

constexpr const char* kFooter =
    "Global options may stand before or after the subcommand.\n"
    "\"kalloctl SUBCOMMAND --help\" shows an example.\n\n"
    "Exit status:\n"
    "  0  done\n"
    "  1  the agent refused; its reason is on standard error\n"
    "  2  usage error\n"
    "  3  the agent cannot be reached or talked to, or its answer cannot be written";

void addOption(CLI::App& app, const Option& row, Arguments& arguments) {
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
    const bool isOperand = *row.names != '-';
    if (isOperand) {
        option->type_name("");
    }
    if (!row.choices.empty()) {
        const std::vector<std::string> choices(row.choices.begin(), row.choices.end());
        CLI::IsMember member(choices);
        member.description("");
        option->check(member);
        option->type_name(CLI::detail::join(choices, "|"));
    }
    if (row.most > row.least) {
        CLI::Range range(row.least, row.most);
        range.description("");
        option->check(range);
        option->type_name("NUMBER");
    }
}

// Breaks the lines of `text` at blanks, so that none is longer than a terminal's.
std::string wrapped(std::string text) {
    constexpr size_t kLongestLine = 78;
    size_t start = 0;
    while (text.size() - start > kLongestLine) {
        const size_t blank = text.rfind(' ', start + kLongestLine);
        if (blank == std::string::npos || blank <= start) {
            break;
        }
        text[blank] = '\n';
        start = blank + 1;
    }
    return text;
}

void addCommand(CLI::App& app, const Command& row, Arguments& arguments) {
    CLI::App* command = app.add_subcommand(row.name, row.help);
    for (const Option& option : row.options) {
        addOption(*command, option, arguments);
    }
    std::string text = wrapped(row.notes);
    text += text.empty() ? "" : "\n\n";
    command->footer(text + "Example:\n  " + row.example);
}

std::string usageError(const CLI::App* app, const CLI::Error& error) {
    const std::vector<std::string> unknown = app->remaining();
    const bool namesNone = app->get_subcommands().empty() && !unknown.empty();
    const std::string fault = namesNone ? "unknown subcommand " + unknown.front() : error.what();
    return "kalloctl: " + safeText(fault) +
           "\n\"kalloctl --help\" and \"kalloctl SUBCOMMAND --help\" tell more.\n";
}

/// The parser knows no other names than those of the table.
const Command& chosenCommand(const CLI::App& app) {
    return *std::ranges::find(commands(), app.get_subcommands().front()->get_name(),
                              &Command::name);
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
    Arguments arguments;
    CLI::App app("Command-line companion of the television agent kalloagent", "kalloctl");
    app.set_version_flag("--version", "kalloctl " KALLO_VERSION);
    app.footer(kFooter);
    app.fallthrough();
    app.require_subcommand(1);
    app.failure_message(usageError);
    for (const Option& option : globalOptions()) {
        addOption(app, option, arguments);
    }
    for (const Command& row : commands()) {
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
