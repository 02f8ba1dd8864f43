// Subcommand watch: polls GetStatus and prints a line for each change, until it is interrupted.
#include <unistd.h>

#include <csignal>
#include <ctime>
#include <nlohmann/json.hpp>
#include <thread>

#include "client/answer.h"
#include "client/commands.h"
#include "client/connection.h"
#include "client/output.h"
#include "client/protocol.h"
#include "client/safeText.h"
#include "client/windowChanges.h"

namespace client {
namespace {

struct event_t {
    const char* name;
    window_t window = {};
    std::string formerTitle;
};

constexpr const char* nameOf(changeKind_t kind) {
    switch (kind) {
        case changeKind_t::opened:
            return "opened";
        case changeKind_t::closed:
            return "closed";
        case changeKind_t::titled:
            return "titled";
    }
    return "";
}

std::string now(const char* format) {
    const time_t seconds = time(nullptr);
    tm parts = {};
    char text[32] = "";
    localtime_r(&seconds, &parts);
    strftime(text, sizeof text, format, &parts);
    return text;
}

void printEventJson(const event_t& event) {
    nlohmann::ordered_json value = {{"time", now("%FT%T%z")}, {"event", event.name}};
    if (!event.window.id.empty()) {
        value["winid"] = event.window.id;
        value["pid"] = numberOrText(event.window.pid);
        value["win_title"] = event.window.title;
    }
    if (!event.formerTitle.empty()) {
        value["former_title"] = event.formerTitle;
    }
    printJson(value, false);
}

void printEventLine(const event_t& event) {
    std::string line = now("%T") + "  " + event.name;
    if (!event.window.id.empty()) {
        line += "  " + event.window.id + "  pid " + event.window.pid + "  " + event.window.title;
    }
    if (!event.formerTitle.empty()) {
        line += "  (was " + event.formerTitle + ")";
    }
    print(safeText(line) + "\n");
}

// Each line leaves at once: an interrupt finds nothing half written.
bool report(const arguments_t& arguments, const event_t& event) {
    arguments.json ? printEventJson(event) : printEventLine(event);
    return finishOutput();
}

bool reportChanges(const arguments_t& arguments, const XMLNode& document,
                   std::vector<window_t>& windows, bool first) {
    bool written = true;
    if (childText(document, "isRefreshed") == "true") {
        written = report(arguments, {"refreshed", {}, ""});
    }
    std::vector<window_t> present = windowsOf(document);
    for (const change_t& change : changesBetween(first ? present : windows, present)) {
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
    struct sigaction action = {};
    action.sa_handler = leaveDone;
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

}  // namespace

int runWatch(const arguments_t& arguments) {
    leaveWhenInterrupted();
    const std::string request = requestText("GetStatus");
    std::vector<window_t> windows;
    bool reached = true;
    for (bool first = true;; first = false) {
        XMLNode document;
        std::string error;
        bool silent = false;
        const bool answered =
            askDocument(connectAgent(arguments, error), request, document, silent, error);
        if (!answered && reached) {
            complain(error);
        }
        if (!answered && first) {
            return exitFailed;
        }
        if (answered != reached && !report(arguments, {answered ? "back" : "lost", {}, ""})) {
            return exitFailed;
        }
        if (answered && !reportChanges(arguments, document, windows, first)) {
            return exitFailed;
        }
        reached = answered;
        std::this_thread::sleep_for(millisecondsOf(arguments.intervalSeconds));
    }
}

}  // namespace client
