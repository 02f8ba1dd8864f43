// Subcommands about packages: list, icon, launch, kill-all.
#include <unistd.h>

#include <cstdio>
#include <utility>

#include "client/answer.h"
#include "client/ask.h"
#include "client/commands.h"
#include "client/output.h"
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

int showNames(const XMLNode& document) {
    for (const XMLNode& item : companion::itemsOf(document)) {
        printForeign(companion::childText(item, protocol::kNameElement) + "\n");
    }
    return judge(document);
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
    return exitDone;
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
    if (!arguments.namesOnly || arguments.json) {
        return askAndShow(arguments, request, {kListFacts, kPackageColumns});
    }
    const Answer answer = askAgent(arguments, request);
    return answer.reply == Reply::answered ? showNames(answer.document) : exitFailed;
}

int runIcon(const Arguments& arguments) {
    const std::string request =
        companion::requestText(protocol::kGetIcon, {arguments.package, arguments.device});
    if (!isFit(arguments.package, request)) {
        return exitUsage;
    }
    Connection connection = connectAgent(arguments);
    if (!connection.socket) {
        complain(connection.error);
        return exitFailed;
    }
    Conversation conversation(std::move(connection.socket));
    const Reply reply = conversation.ask(request);
    if (reply == Reply::silence) {
        complain(kSilence);
        return exitFailed;
    }
    if (reply == Reply::answered && conversation.size() == 0) {
        complain("no such icon");
        return exitRefused;
    }
    std::string icon;
    if (reply == Reply::failure || !conversation.receive(icon, showProgress)) {
        complain(conversation.error());
        return exitFailed;
    }
    return saveIcon(arguments, icon);
}

int runLaunch(const Arguments& arguments) {
    const std::string request = companion::requestText(protocol::kLaunch, {arguments.package});
    return isFit(arguments.package, request) ? askAndShow(arguments, request, {kLaunchFacts})
                                             : exitUsage;
}

int runKillAll(const Arguments& arguments) {
    return runUnanswered(arguments, protocol::kKillAll);
}

}  // namespace client
