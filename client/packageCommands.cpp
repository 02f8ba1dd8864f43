// Subcommands about packages: list, icon, launch, kill-all.
#include <unistd.h>

#include <cstdio>

#include "client/answer.h"
#include "client/commands.h"
#include "client/connection.h"
#include "client/conversation.h"
#include "client/output.h"
#include "client/protocol.h"
#include "client/wholeFile.h"

namespace client {
namespace {

constexpr field_t listFacts[] = {
    {"torvik_ver", "Desktop version"},
    {"nas_model", "Model"},
    {"nas_internal_model", "Internal model"},
    {"nas_display_name", "Display name"},
    {"rux_ver", "System version"},
    {"rux_build", "System build"},
    {"rux_num", "Build number"},
};
constexpr field_t packageColumns[] = {
    {"name", "NAME"},
    {"displayName", "DISPLAY NAME"},
    {"version", "VERSION"},
    {"uuid", "UUID"},
    {"icon_phone", "PHONE ICON", fieldKind_t::flag},
    {"icon_pad", "PAD ICON", fieldKind_t::flag},
};
constexpr field_t launchFacts[] = {{"errRtn", "Launch"}};

int showNames(const XMLNode& document) {
    const int count = document.childCount("item");
    for (int i = 0; i < count; ++i) {
        printForeign(childText(document.childNode("item", i), "name") + "\n");
    }
    return judge(document);
}

// A line that is written over again and again, and wiped in the end; only for large answers, and
// only when somebody watches.
void showProgress(uint64_t received, uint64_t total) {
    constexpr uint64_t worthShowing = uint64_t{256} << 10;
    if (total < worthShowing || isatty(STDERR_FILENO) != 1) {
        return;
    }
    fprintf(stderr, "\r%3d %% of %llu KiB", static_cast<int>(received * 100 / total),
            static_cast<unsigned long long>(total >> 10));
    fputs(received == total ? "\r\033[K" : "", stderr);
}

int saveIcon(const arguments_t& arguments, const std::string& icon) {
    if (arguments.output == "-") {
        print(icon);
        return exitDone;
    }
    std::string error;
    if (!writeWholeFile(arguments.output, icon, error)) {
        complain(error);
        return exitFailed;
    }
    return exitDone;
}

bool isBlank(const std::string& text) {
    return text.find_first_not_of(" \t\r\n") == std::string::npos;
}

// The agent takes a missing name for a success, so an empty one is not sent at all.
int refuseBlankName() {
    complain("the package name is empty");
    return exitUsage;
}

}  // namespace

int runList(const arguments_t& arguments) {
    const std::string request = requestText("ListVEXA");
    if (!arguments.namesOnly || arguments.json) {
        return askAndShow(arguments, request, {listFacts, packageColumns});
    }
    XMLNode document;
    const int status = askAgent(arguments, request, document);
    return status == exitDone ? showNames(document) : status;
}

int runIcon(const arguments_t& arguments) {
    if (isBlank(arguments.package)) {
        return refuseBlankName();
    }
    const std::string request = requestText("GetIcon", {arguments.package, arguments.device});
    if (request.size() > requestLimit) {
        complain("the package name is too long for a request");
        return exitUsage;
    }
    std::string error;
    auto socket = connectAgent(arguments, error);
    if (socket == nullptr) {
        complain(error);
        return exitFailed;
    }
    Conversation conversation(std::move(socket));
    const reply_t reply = conversation.ask(request);
    if (reply == reply_t::silence) {
        complain("the agent closed the connection without an answer");
        return exitFailed;
    }
    if (reply == reply_t::announced && conversation.size() == 0) {
        complain("no such icon");
        return exitRefused;
    }
    std::string icon;
    if (reply == reply_t::failure || !conversation.receive(icon, showProgress)) {
        complain(conversation.error());
        return exitFailed;
    }
    return saveIcon(arguments, icon);
}

int runLaunch(const arguments_t& arguments) {
    if (isBlank(arguments.package)) {
        return refuseBlankName();
    }
    return askAndShow(arguments, requestText("Launch", {arguments.package}), {launchFacts});
}

int runKillAll(const arguments_t& arguments) {
    return runUnanswered(arguments, "KillAll");
}

}  // namespace client
