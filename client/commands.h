// The subcommands of kalloctl as data: the row of each is its name, its help, its options and the
// function that runs it. commandLine.cpp turns the rows into a parser.
#pragma once

#include <span>
#include <variant>

#include "client/arguments.h"

namespace client {

/// The program's exit statuses, the same for every subcommand.
enum exitStatus_t : int {
    exitDone = 0,
    exitRefused = 1,  ///< the agent answered, and its answer is a refusal
    exitUsage = 2,
    exitFailed = 3,  ///< the agent cannot be reached or talked to, or its answer not be written
};

/// One option or operand. `names` without a dash is an operand, else "-x,--long" names.
struct option_t {
    const char* names;
    const char* help;
    std::variant<std::string arguments_t::*, bool arguments_t::*, int arguments_t::*,
                 double arguments_t::*>
        target;
    bool required = false;
    std::span<const char* const> choices = {};
    double least = 0;  ///< bounds of a number, both included
    double most = 0;
};

struct command_t {
    const char* name;
    const char* help;
    const char* notes;    ///< what a user should know besides; may be empty
    const char* example;  ///< one command line
    std::span<const option_t> options;
    int (*run)(const arguments_t& arguments);  ///< returns an exitStatus_t
};

/// Every subcommand, in the order of the help text.
std::span<const command_t> commands();

int runStatus(const arguments_t& arguments);
int runWatch(const arguments_t& arguments);
int runList(const arguments_t& arguments);
int runIcon(const arguments_t& arguments);
int runLaunch(const arguments_t& arguments);
int runKillAll(const arguments_t& arguments);
int runUser(const arguments_t& arguments);
int runSettings(const arguments_t& arguments);
int runAutoLogin(const arguments_t& arguments);
int runLogin(const arguments_t& arguments);
int runLogout(const arguments_t& arguments);
int runPassword(const arguments_t& arguments);
int runRaw(const arguments_t& arguments);

}  // namespace client
