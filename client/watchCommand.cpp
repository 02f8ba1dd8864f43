// Subcommand watch: polls GetStatus and prints a line for each change, until it is interrupted.
#include <unistd.h>

#include <csignal>
#include <ctime>
#include <nlohmann/json.hpp>
#include <thread>

#include "client/ask.h"
#include "client/commands.h"
#include "client/output.h"
#include "client/safeText.h"
#include "client/windowChanges.h"
#include "companion/answer.h"
#include "companion/request.h"
#include "support/protocol.h"

namespace client {
namespace {

struct Event {
    const char* name;
    Window window{};
    std::string formerTitle;
};

constexpr const char* nameOf(ChangeKind kind) {
    switch (kind) {
        case ChangeKind::opened:
            return "opened";
        case ChangeKind::closed:
            return "closed";
        case ChangeKind::titled:
            return "titled";
    }
    return "";
}

// Time zone by `takeApart`: localtime_r(3) for people, gmtime_r(3) for machines.
std::string now(const char* format, tm* (*takeApart)(const time_t*, tm*)) {
    const time_t seconds = time(nullptr);
    tm parts{};
    char text[32] = "";
    takeApart(&seconds, &parts);
    strftime(text, sizeof text, format, &parts);
    return text;
}

void printEventJson(const Event& event) {
    nlohmann::ordered_json value = {{"time", now("%FT%TZ", gmtime_r)}, {"event", event.name}};
    if (!event.window.id.empty()) {
        value[protocol::kWindowIdElement] = event.window.id;
        value[protocol::kProcessElement] = numberOrText(event.window.pid);
        value[protocol::kWindowTitleElement] = event.window.title;
    }
    if (!event.formerTitle.empty()) {
        value["former_title"] = event.formerTitle;
    }
    printJson(value, false);
}

void printEventLine(const Event& event) {
    std::string line = now("%T", localtime_r) + "  " + event.name;
    if (!event.window.id.empty()) {
        line += "  " + event.window.id + "  pid " + event.window.pid + "  " + event.window.title;
    }
    if (!event.formerTitle.empty()) {
        line += "  (was " + event.formerTitle + ")";
    }
    print(safeText(line) + "\n");
}

// Each line leaves at once: an interrupt finds nothing half written.
bool report(const Arguments& arguments, const Event& event) {
    arguments.json ? printEventJson(event) : printEventLine(event);
    return finishOutput();
}

bool reportChanges(const Arguments& arguments, const XMLNode& document,
                   std::vector<Window>& windows, bool first) {
    bool written = true;
    if (companion::childText(document, protocol::kRefreshedElement) == "true") {
        written = report(arguments, {"refreshed", {}, ""});
    }
    std::vector<Window> present = windowsOf(document);
    for (const Change& change : changesBetween(first ? present : windows, present)) {
        written =
            written && report(arguments, {nameOf(change.kind), change.window, change.formerTitle});
    }
    windows = std::move(present);
    return written;
}

void leaveDone(int) {
    _exit(exitDone);
}

// Nothing needs tidying up, so an interrupt may end the program wherever it is, in the middle of a
// poll that waits for a stuck agent too.
void leaveWhenInterrupted() {
    struct sigaction action {};
    action.sa_handler = leaveDone;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

}  // namespace

int runWatch(const Arguments& arguments) {
    leaveWhenInterrupted();
    const std::string request = companion::requestText(protocol::kGetStatus);
    std::vector<Window> windows;
    bool reached = true;
    for (bool first = true;; first = false) {
        const Answer answer = askDocument(connectAgent(arguments), request);
        const bool answered = answer.reply == Reply::answered;
        if (!answered && reached) {
            complain(answer.error);
        }
        if (!answered && first) {
            return exitFailed;
        }
        if (answered != reached && !report(arguments, {answered ? "back" : "lost", {}, ""})) {
            return exitFailed;
        }
        if (answered && !reportChanges(arguments, answer.document, windows, first)) {
            return exitFailed;
        }
        reached = answered;
        std::this_thread::sleep_for(millisecondsOf(arguments.intervalSeconds));
    }
}

}  // namespace client
