// The subcommands of kalloctl as data: the row of each is its name, its help, its options and the
// function that runs it. commandLine.cpp turns the rows into a parser.
#pragma once

#include <span>
#include <string_view>
#include <variant>

#include "client/arguments.h"

namespace client {

/// The program's exit statuses, the same for every subcommand.
enum ExitStatus : int {
    exitDone = 0,
    exitRefused = 1,  ///< the agent answered, and its answer is a refusal
    exitUsage = 2,
    exitFailed = 3,  ///< the agent cannot be reached or talked to, or its answer not be written
};

/// What an option or operand stands for, besides what its choices say: for completion.
enum class ValueKind { text, package, user, file, host, subcommand };

/// One option or operand. `names` without a dash is an operand, else "-x,--long" names.
struct Option {
    const char* names;
    const char* help;
    std::variant<std::string Arguments::*, bool Arguments::*, int Arguments::*, double Arguments::*>
        target;
    std::span<const char* const> choices{};
    double least = 0;  ///< bounds of a number, both included
    double most = 0;
    const char* bare = nullptr;         ///< the value of an option that stands without one
    const char* environment = nullptr;  ///< a variable that is taken in its place
    ValueKind kind = ValueKind::text;
    bool required = false;
};

struct Command {
    const char* name;
    const char* help;
    const char* notes = "";  ///< what a user should know besides
    const char* example;     ///< one command line
    std::span<const Option> options{};
    int (*run)(const Arguments& arguments);  ///< returns an ExitStatus
};

/// The options of every subcommand, which may stand before or after it.
std::span<const Option> globalOptions();

/// The row of that subcommand; null when there is none.
const Command* findCommand(std::string_view name);

/// Every subcommand, in the order of the help text.
std::span<const Command> commands();

int runStatus(const Arguments& arguments);
int runWatch(const Arguments& arguments);
int runList(const Arguments& arguments);
int runIcon(const Arguments& arguments);
int runLaunch(const Arguments& arguments);
int runKillAll(const Arguments& arguments);
int runUser(const Arguments& arguments);
int runSettings(const Arguments& arguments);
int runAutoLogin(const Arguments& arguments);
int runLogin(const Arguments& arguments);
int runLogout(const Arguments& arguments);
int runPassword(const Arguments& arguments);
int runRaw(const Arguments& arguments);
int runDiscover(const Arguments& arguments);
int runDoctor(const Arguments& arguments);
int runHelp(const Arguments& arguments);

}  // namespace client
