#include "client/commandLine.h"

#include <langinfo.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <clocale>
#include <cstdio>
#include <cstring>
#include <vector>

#include "client/agentAddress.h"
#include "client/commands.h"
#include "client/output.h"

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
    if (row.environment != nullptr) {
        option->envname(row.environment);
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

int endInUsageError(const std::string& fault, bool json) {
    complain(fault);
    fputs(json ? "" : "\"kalloctl --help\" and \"kalloctl SUBCOMMAND --help\" tell more.\n",
          stderr);
    return exitUsage;
}

std::string faultOf(const CLI::App& app, const CLI::Error& error) {
    const std::vector<std::string> unknown = app.remaining();
    const bool namesNone = app.get_subcommands().empty() && !unknown.empty();
    return namesNone ? "unknown subcommand " + unknown.front() : error.what();
}

bool isNumber(const std::string& word) {
    return !word.empty() && word.find_first_not_of("0123456789.") == std::string::npos;
}

/// The value of `word`, an option, where it may stand without one; null when it may not.
const char* bareValueOf(const std::string& word) {
    for (const Command& row : commands()) {
        const auto option = std::ranges::find(row.options, word, &Option::names);
        if (option != row.options.end()) {
            return option->bare;
        }
    }
    return nullptr;
}

/// The words of the command line. The parser would take any word behind an option for its value.
std::vector<std::string> wordsOf(int argc, const char* const* argv) {
    std::vector<std::string> words(argv + std::min(argc, 1), argv + argc);
    for (size_t i = 0; i < words.size(); ++i) {
        const char* const value = bareValueOf(words[i]);
        if (value != nullptr && (i + 1 == words.size() || !isNumber(words[i + 1]))) {
            words[i] += std::string("=") + value;
        }
    }
    return words;
}

// The widths of characters come from the locale; the agent's texts are UTF-8 whatever it says.
void useUtf8() {
    if (setlocale(LC_CTYPE, "") == nullptr || strcmp(nl_langinfo(CODESET), "UTF-8") != 0) {
        setlocale(LC_CTYPE, "C.UTF-8");
    }
}

void addAll(CLI::App& app, Arguments& arguments) {
    app.set_version_flag("-v,--version", "kalloctl " KALLO_VERSION);
    app.footer(kFooter);
    app.fallthrough();
    app.require_subcommand(1);
    for (const Option& option : globalOptions()) {
        addOption(app, option, arguments);
    }
    for (const Command& row : commands()) {
        addCommand(app, row, arguments);
    }
}

}  // namespace

int runHelp(const Arguments& arguments) {
    const std::string& topic = arguments.topic;
    if (!topic.empty() && findCommand(topic) == nullptr) {
        return endInUsageError("unknown subcommand " + topic, arguments.json);
    }
    const char* const words[] = {"kalloctl", "--help", topic.c_str()};
    return runCommandLine(topic.empty() ? 2 : 3, words);
}

int runCommandLine(int argc, const char* const* argv) {
    useUtf8();
    std::vector<std::string> words = wordsOf(argc, argv);
    const bool json = std::ranges::find(words, "--json") != words.end();
    if (json) {
        complainInJson();
    }
    std::ranges::reverse(words);  // as the parser takes them
    Arguments arguments;
    CLI::App app("Command-line companion of the television agent kalloagent", "kalloctl");
    addAll(app, arguments);
    try {
        app.parse(words);
    } catch (const CLI::ParseError& error) {
        return error.get_exit_code() == 0 ? app.exit(error)
                                          : endInUsageError(faultOf(app, error), json);
    }
    const std::string fault = takeAddress(arguments);
    if (!fault.empty()) {
        return endInUsageError(fault, json);
    }
    const int status = findCommand(app.get_subcommands().front()->get_name())->run(arguments);
    return finishOutput() ? status : exitFailed;
}

}  // namespace client
