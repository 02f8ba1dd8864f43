#include "client/completion.h"

#include <algorithm>
#include <array>
#include <functional>
#include <sstream>
#include <vector>

#include "client/commands.h"

namespace client {
namespace {

using Strings = std::vector<std::string>;

bool isOperand(const Option& option) {
    return *option.names != '-';
}

bool takesValue(const Option& option) {
    return !isOperand(option) && !std::holds_alternative<bool Arguments::*>(option.target);
}

Strings namesOf(const Option& option) {
    Strings names;
    std::istringstream list(option.names);
    for (std::string name; std::getline(list, name, ',');) {
        names.push_back(name);
    }
    return names;
}

std::string joined(const Strings& words, const char* between) {
    std::string text;
    for (const std::string& word : words) {
        text += (text.empty() ? "" : between) + word;
    }
    return text;
}

std::string subcommandNames() {
    Strings names;
    for (const Command& command : commands()) {
        names.emplace_back(command.name);
    }
    return joined(names, " ");
}

/// What completes a value: words, or by the kind of it one of `byKind`, in the order of ValueKind.
std::string valuesOf(const Option& option, const std::array<const char*, 5>& byKind) {
    if (!option.choices.empty()) {
        return joined({option.choices.begin(), option.choices.end()}, " ");
    }
    return option.kind == ValueKind::subcommand ? subcommandNames()
                                                : byKind[static_cast<size_t>(option.kind)];
}

/// Calls `take` for the options of all subcommands, the global ones first: with an empty name.
void forEachOption(const std::function<void(const std::string&, const Option&)>& take) {
    for (const Option& option : globalOptions()) {
        take("", option);
    }
    for (const Command& command : commands()) {
        for (const Option& option : command.options) {
            take(command.name, option);
        }
    }
}

std::string valueOptions(const char* between) {
    Strings names;
    forEachOption([&](const std::string& /*command*/, const Option& option) {
        if (takesValue(option)) {
            std::ranges::copy(namesOf(option), std::back_inserter(names));
        }
    });
    return joined(names, between);
}

// bash

std::string bashValues(const Option& option) {
    return valuesOf(option, {"", "@package", "@user", "@file", "@host"});
}

std::string bashOptionCases() {
    Strings rows;
    forEachOption([&](const std::string& /*command*/, const Option& option) {
        if (takesValue(option)) {
            rows.push_back("        " + joined(namesOf(option), " | ") + ") values='" +
                           bashValues(option) + "' ;;");
        }
    });
    return joined(rows, "\n");
}

std::string bashOptions(std::span<const Option> options) {
    Strings names;
    for (const Option& option : options) {
        if (!isOperand(option)) {
            std::ranges::copy(namesOf(option), std::back_inserter(names));
        }
    }
    return joined(names, " ");
}

std::string bashOfferedCases() {
    Strings rows;
    for (const Command& command : commands()) {
        rows.push_back("                " + std::string(command.name) + ") values='" +
                       bashOptions(command.options) + "' ;;");
    }
    return joined(rows, "\n");
}

std::string bashOperandCases() {
    Strings rows;
    for (const Command& command : commands()) {
        int number = 0;
        for (const Option& option : command.options) {
            if (!isOperand(option)) {
                continue;
            }
            rows.push_back("                    " + std::string(command.name) + ":" +
                           std::to_string(number++) + ") values='" + bashValues(option) + "' ;;");
        }
    }
    return joined(rows, "\n");
}

// zsh

/// `text` with a backslash before each of the `special` characters.
std::string escaped(const std::string& text, std::string_view special) {
    std::string result;
    for (const char each : text) {
        result += special.find(each) == std::string_view::npos ? "" : "\\";
        result += each;
    }
    return result;
}

/// `text` as a word of zsh or fish.
std::string quoted(const std::string& text) {
    std::string result = "'";
    for (const char each : text) {
        result += each == '\'' ? std::string("'\\''") : std::string(1, each);
    }
    return result + "'";
}

std::string zshValues(const Option& option) {
    const std::string values =
        valuesOf(option, {" ", "_kalloctl_packages", "_users", "_files", "_hosts"});
    const bool isList = !option.choices.empty() || option.kind == ValueKind::subcommand;
    return isList ? "(" + values + ")" : values;
}

std::string zshPatterns(std::span<const Option> options, const std::string& indent) {
    Strings rows;
    int number = 0;
    for (const Option& option : options) {
        if (isOperand(option)) {
            rows.push_back(
                quoted(std::to_string(++number) + ":" + option.names + ":" + zshValues(option)));
            continue;
        }
        const std::string help = "[" + escaped(option.help, "[]:\\") + "]";
        for (const std::string& name : namesOf(option)) {
            std::string pattern = name;
            if (takesValue(option)) {
                pattern += name.starts_with("--") ? "=" : "+";
            }
            pattern += help;
            if (takesValue(option)) {
                pattern += ":value:" + zshValues(option);
            }
            rows.push_back(quoted(pattern));
        }
    }
    return indent + joined(rows, ("\n" + indent).c_str());
}

std::string zshSubcommands() {
    Strings rows;
    for (const Command& command : commands()) {
        rows.push_back("        " + quoted(std::string(command.name) + ":" + command.help));
    }
    return joined(rows, "\n");
}

std::string zshCases() {
    Strings rows;
    for (const Command& command : commands()) {
        std::string patterns = "\n" + zshPatterns(command.options, "");
        std::ranges::replace(patterns, '\n', ' ');
        rows.push_back("                " + std::string(command.name) + ") _arguments $global" +
                       (command.options.empty() ? "" : patterns) + " ;;");
    }
    return joined(rows, "\n");
}

// fish

std::string fishValues(const Option& option) {
    return valuesOf(option, {"", "(__kalloctl_packages)", "(__fish_complete_users)",
                             "(__fish_complete_path)", "(__fish_print_hostnames)"});
}

std::string fishLines() {
    constexpr const char* kStart = "complete -c kalloctl";
    Strings rows;
    for (const Command& command : commands()) {
        rows.push_back(std::string(kStart) + " -n \"__kalloctl_at '' 0\" -a " + command.name +
                       " -d " + quoted(command.help));
    }
    std::string current;
    int operands = 0;
    forEachOption([&](const std::string& command, const Option& option) {
        operands = command == current ? operands : 0;
        current = command;
        std::string row = kStart;
        if (isOperand(option)) {
            row += " -n '__kalloctl_at " + command + " " + std::to_string(++operands) + "'";
        } else if (!command.empty()) {
            row += " -n '__fish_seen_subcommand_from " + command + "'";
        }
        for (const std::string& name : isOperand(option) ? Strings{} : namesOf(option)) {
            row += name.starts_with("--") ? " -l " + name.substr(2) : " -s " + name.substr(1);
        }
        row += takesValue(option) ? " -x" : "";
        const std::string values = fishValues(option);
        row += values.empty() ? "" : " -a " + quoted(values);
        rows.push_back(row + " -d " + quoted(option.help));
    });
    return joined(rows, "\n");
}

}  // namespace

std::string completionText(std::string pattern) {
    const std::pair<std::string, std::string> parts[] = {
        {"@SUBCOMMANDS@", subcommandNames()},
        {"@BASH_VALUE_OPTIONS@", valueOptions(" | ")},
        {"@BASH_OPTION_CASES@", bashOptionCases()},
        {"@BASH_OFFERED_CASES@", bashOfferedCases()},
        {"@BASH_OPERAND_CASES@", bashOperandCases()},
        {"@BASH_GLOBAL@", bashOptions(globalOptions())},
        {"@ZSH_GLOBAL@", zshPatterns(globalOptions(), "        ")},
        {"@ZSH_SUBCOMMANDS@", zshSubcommands()},
        {"@ZSH_CASES@", zshCases()},
        {"@FISH_VALUE_OPTIONS@", valueOptions(" ")},
        {"@FISH_LINES@", fishLines()},
    };
    for (const auto& [name, text] : parts) {
        const size_t place = pattern.find(name);
        if (place != std::string::npos) {
            pattern.replace(place, name.size(), text);
        }
    }
    return pattern;
}

}  // namespace client
