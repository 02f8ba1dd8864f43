#include "client/launchWait.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <optional>
#include <thread>

#include "client/answer.h"
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

using Clock = std::chrono::steady_clock;
constexpr auto kPause = std::chrono::milliseconds(200);

std::optional<Window> awaitNewWindow(const Arguments& arguments,
                                     const std::vector<Window>& before) {
    const auto end = Clock::now() + millisecondsOf(arguments.waitSeconds);
    do {
        const Answer answer =
            askDocument(connectAgent(arguments), companion::requestText(protocol::kGetStatus));
        if (answer.reply == Reply::answered) {
            const auto changes = changesBetween(before, windowsOf(answer.document));
            const auto opened = std::ranges::find(changes, ChangeKind::opened, &Change::kind);
            if (opened != changes.end()) {
                return opened->window;
            }
        }
        std::this_thread::sleep_for(kPause);
    } while (Clock::now() < end);
    return std::nullopt;
}

void show(const Arguments& arguments, const std::string& result, const Window& window) {
    if (arguments.json) {
        printJson({{protocol::kResultElement, result},
                   {"window",
                    {{protocol::kWindowIdElement, window.id},
                     {protocol::kProcessElement, numberOrText(window.pid)},
                     {protocol::kWindowTitleElement, window.title}}}},
                  true);
        return;
    }
    print(alignedTable(
        {{"Launch:", result}, {"Window:", safeText(window.id + "  " + window.title)}}, false));
}

}  // namespace

int launchAndWait(const Arguments& arguments, const std::string& request) {
    const Answer before = askAgent(arguments, companion::requestText(protocol::kGetStatus));
    const Answer launch = before.reply == Reply::answered ? askAgent(arguments, request) : Answer{};
    if (launch.reply != Reply::answered) {
        return exitFailed;
    }
    const std::string result = companion::resultOf(launch.document);
    if (!companion::isSuccess(result)) {
        return judge(arguments, protocol::kLaunch, launch.document);
    }
    const auto window = awaitNewWindow(arguments, windowsOf(before.document));
    if (!window) {
        complain(arguments.package + " was launched, but no new window is up");
        return exitFailed;
    }
    show(arguments, result, *window);
    return exitDone;
}

}  // namespace client
