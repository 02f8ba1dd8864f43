#include "client/windowChanges.h"

#include <algorithm>

#include "client/protocol.h"

namespace client {
namespace {

// Null when the same window, by id and process, is not among `windows`.
const window_t* findSame(const std::vector<window_t>& windows, const window_t& window) {
    const auto found = std::find_if(windows.begin(), windows.end(), [&](const window_t& other) {
        return other.id == window.id && other.pid == window.pid;
    });
    return found != windows.end() ? &*found : nullptr;
}

}  // namespace

std::vector<window_t> windowsOf(const XMLNode& document) {
    std::vector<window_t> windows;
    const int count = document.childCount("item");
    int next = 0;
    for (int i = 0; i < count; ++i) {
        const XMLNode item = document.childNode("item", &next);
        windows.push_back(
            {childText(item, "winid"), childText(item, "pid"), childText(item, "win_title")});
    }
    return windows;
}

std::vector<change_t> changesBetween(const std::vector<window_t>& before,
                                     const std::vector<window_t>& after) {
    std::vector<change_t> changes;
    for (const window_t& window : before) {
        if (findSame(after, window) == nullptr) {
            changes.push_back({changeKind_t::closed, window, ""});
        }
    }
    for (const window_t& window : after) {
        const window_t* const former = findSame(before, window);
        if (former == nullptr) {
            changes.push_back({changeKind_t::opened, window, ""});
        } else if (former->title != window.title) {
            changes.push_back({changeKind_t::titled, window, former->title});
        }
    }
    return changes;
}

}  // namespace client
