#include "client/windowChanges.h"

#include <algorithm>

#include "companion/answer.h"
#include "support/protocol.h"

namespace client {
namespace {

// Null when the same window, by id and process, is not among `windows`.
const Window* findSame(const std::vector<Window>& windows, const Window& window) {
    const auto found = std::ranges::find_if(windows, [&](const Window& other) {
        return other.id == window.id && other.pid == window.pid;
    });
    return found != windows.end() ? &*found : nullptr;
}

}  // namespace

std::vector<Window> windowsOf(const XMLNode& document) {
    std::vector<Window> windows;
    for (const XMLNode& item : companion::itemsOf(document)) {
        windows.push_back({companion::childText(item, protocol::kWindowIdElement),
                           companion::childText(item, protocol::kProcessElement),
                           companion::childText(item, protocol::kWindowTitleElement)});
    }
    return windows;
}

std::vector<Change> changesBetween(const std::vector<Window>& before,
                                   const std::vector<Window>& after) {
    std::vector<Change> changes;
    for (const Window& window : before) {
        if (findSame(after, window) == nullptr) {
            changes.push_back({ChangeKind::closed, window, ""});
        }
    }
    for (const Window& window : after) {
        const Window* const former = findSame(before, window);
        if (former == nullptr) {
            changes.push_back({ChangeKind::opened, window, ""});
        } else if (former->title != window.title) {
            changes.push_back({ChangeKind::titled, window, former->title});
        }
    }
    return changes;
}

}  // namespace client
