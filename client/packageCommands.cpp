// Subcommands about packages: list, icon, launch, kill-all.
#include <unistd.h>

#include <cstdio>
#include <nlohmann/json.hpp>
#include <utility>

#include "client/answer.h"
#include "client/ask.h"
#include "client/commands.h"
#include "client/launchWait.h"
#include "client/output.h"
#include "client/refusals.h"
#include "client/wholeFile.h"
#include "companion/answer.h"
#include "companion/request.h"
#include "support/protocol.h"

namespace client {
namespace {

constexpr Field kListFacts[] = {
    {protocol::kDesktopVersionElement, "Desktop version"},
    {protocol::kModelElement, "Model"},
    {protocol::kInternalModelElement, "Internal model"},
    {protocol::kServerNameElement, "Display name"},
    {protocol::kSystemVersionElement, "System version"},
    {protocol::kSystemBuildElement, "System build"},
    {protocol::kBuildNumberElement, "Build number"},
};
constexpr Field kPackageColumns[] = {
    {protocol::kNameElement, "NAME"},
    {protocol::kDisplayNameElement, "DISPLAY NAME"},
    {protocol::kPackageVersionElement, "VERSION"},
    {protocol::kIdentifierElement, "UUID"},
    {protocol::kPhoneIconElement, "PHONE ICON", FieldKind::flag},
    {protocol::kPadIconElement, "PAD ICON", FieldKind::flag},
};
constexpr Field kLaunchFacts[] = {{protocol::kResultElement, "Launch"}};

int showNames(const Arguments& arguments, const XMLNode& document) {
    nlohmann::ordered_json names = nlohmann::ordered_json::array();
    for (const XMLNode& item : companion::itemsOf(document)) {
        const std::string name = companion::childText(item, protocol::kNameElement);
        arguments.json ? names.push_back(name) : printForeign(name + "\n");
    }
    if (arguments.json) {
        printJson(names, true);
    }
    return judge(arguments, protocol::kListVexa, document);
}

// A line that is written over again and again, and wiped in the end; only for large answers, and
// only when somebody watches.
void showProgress(uint64_t received, uint64_t total) {
    constexpr uint64_t kWorthShowing = uint64_t{256} << 10;
    if (total < kWorthShowing || isatty(STDERR_FILENO) != 1) {
        return;
    }
    fprintf(stderr, "\r%3d %% of %llu KiB", static_cast<int>(received * 100 / total),
            static_cast<unsigned long long>(total >> 10));
    fputs(received == total ? "\r\033[K" : "", stderr);
}

int saveIcon(const Arguments& arguments, const std::string& icon) {
    if (arguments.output == "-") {
        print(icon);
        return exitDone;
    }
    std::string error;
    if (!writeWholeFile(arguments.output, icon, error)) {
        complain(error);
        return exitFailed;
    }
    if (arguments.json) {
        printJson({{"output", arguments.output}, {"size", icon.size()}}, true);
    }
    return exitDone;
}

// An image holds what steers a terminal, and is no JSON.
bool mayGoTo(const Arguments& arguments) {
    if (arguments.output == "-" && (arguments.json || isatty(STDOUT_FILENO) == 1)) {
        complain(arguments.json ? "--json needs a file for the icon, not standard output"
                                : "an icon is not for a terminal: name a file, or redirect");
        return false;
    }
    return true;
}

// Returns exitRefused for an icon that is missing, which is for the caller to tell. The connection
// is closed by then: the agent serves one at a time.
int fetchIcon(const Arguments& arguments, const std::string& request, std::string& icon) {
    Connection connection = connectAgent(arguments);
    if (!connection.socket) {
        complain(connection.error);
        return exitFailed;
    }
    Conversation conversation(std::move(connection.socket));
    const Reply reply = conversation.ask(request);
    if (reply == Reply::answered && conversation.size() == 0) {
        return exitRefused;
    }
    if (reply != Reply::answered || !conversation.receive(icon, showProgress)) {
        complain(reply == Reply::silence ? kSilence : conversation.error());
        return exitFailed;
    }
    return exitDone;
}

// The agent announces an icon that is missing and one of a missing package alike.
int refuseIcon(const Arguments& arguments) {
    bool isKnown = false;
    const std::string suggestion = suggestPackage(arguments, &isKnown);
    complain(
        isKnown || suggestion.empty()
            ? Complaint{"there is no such icon: " + arguments.package + ", " + arguments.device}
            : Complaint{refusalText(protocol::kGetIcon, "", arguments.package), "", suggestion});
    return exitRefused;
}

// The agent takes a missing name for a success, so an empty one is not sent at all.
bool isFit(const std::string& package, const std::string& request) {
    if (package.find_first_not_of(" \t\r\n") == std::string::npos) {
        complain("the package name is empty");
        return false;
    }
    if (request.size() > protocol::kRequestLimit) {
        complain("the package name is too long for a request");
        return false;
    }
    return true;
}

}  // namespace

int runList(const Arguments& arguments) {
    const std::string request = companion::requestText(protocol::kListVexa);
    if (!arguments.namesOnly) {
        return askAndShow(arguments, request, {kListFacts, kPackageColumns});
    }
    const Answer answer = askAgent(arguments, request);
    return answer.reply == Reply::answered ? showNames(arguments, answer.document) : exitFailed;
}

int runIcon(const Arguments& arguments) {
    const std::string request =
        companion::requestText(protocol::kGetIcon, {arguments.package, arguments.device});
    if (!isFit(arguments.package, request) || !mayGoTo(arguments)) {
        return exitUsage;
    }
    std::string icon;
    const int status = fetchIcon(arguments, request, icon);
    if (status != exitDone) {
        return status == exitRefused ? refuseIcon(arguments) : status;
    }
    return saveIcon(arguments, icon);
}

int runLaunch(const Arguments& arguments) {
    const std::string request = companion::requestText(protocol::kLaunch, {arguments.package});
    if (!isFit(arguments.package, request)) {
        return exitUsage;
    }
    return arguments.waitSeconds > 0 ? launchAndWait(arguments, request)
                                     : askAndShow(arguments, request, {kLaunchFacts});
}

int runKillAll(const Arguments& arguments) {
    return runUnanswered(arguments, protocol::kKillAll);
}

}  // namespace client
