#include "agent/windows.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "agent/kalloagent.h"
#include "agent/logSources.h"
#include "agent/response.h"
#include "support/commandRunner.h"
#include "support/protocol.h"
#include "support/serverPaths.h"
#include "support/wholeFile.h"

namespace {

constexpr size_t kWindowLine = 256;
constexpr size_t kWindowIdText = 128;
// Opened as a file, which exists on no ordinary system: clients are used to every window being
// reported as inactive.
constexpr const char* kActiveWindow = "/usr/bin/xprop -root | grep _NET_ACTIVE_WINDOW\\(WINDOW\\)";

/// Cuts a line of the window list into a record; false for a line with too few words.
bool parseWindowLine(char* line, WindowInfo& window) {
    constexpr size_t kWords = 5;
    const char* words[kWords]{};
    char* rest = line;
    for (const char*& word : words) {
        word = strtok_r(rest, " ", &rest);
        if (word == nullptr) {
            return false;
        }
    }
    window.id = words[0];
    window.desktop = words[1];
    window.pid = words[2];
    // The fourth word is the host name. Of a title only the first word comes through.
    window.title = words[4];
    if (window.title.back() == ' ' || window.title.back() == '\n') {
        window.title.pop_back();
    }
    return true;
}

unsigned int hexDigit(char digit) {
    if (digit >= '0' && digit <= '9') {
        return digit - '0';
    }
    return digit >= 'a' && digit <= 'f' ? digit - 'a' + 10 : 0;
}

}  // namespace

void getWindowList(std::vector<WindowInfo>& windows) {
    windows.clear();
    FILE* list = exec_popen("r", server::kWindowTool, "-lp", nullptr);
    if (list == nullptr) {
        return;
    }
    char* line = nullptr;
    size_t allocated = 0;
    for (ssize_t length = 0; (length = getline(&line, &allocated, list)) > 0;) {
        // What a line holds beyond its first 255 bytes is no window of its own.
        line[std::min(static_cast<size_t>(length), kWindowLine - 1)] = '\0';
        WindowInfo window;
        if (parseWindowLine(line, window)) {
            windows.push_back(std::move(window));
        }
    }
    free(line);
    exec_pclose(list);
}

unsigned int get_active_win_id() {
    const auto text = support::readWholeFile(kActiveWindow, kWindowLine - 1);
    if (!text) {
        return kUnknownWindow;
    }
    if (text->empty()) {
        logSources::logFailed(logSources::kActiveWindow, "fread");
        return kUnknownWindow;
    }
    const char* const id = strstr(text->c_str(), "0x");
    return id == nullptr ? kUnknownWindow : parseWindowId(id);
}

unsigned int parseWindowId(const char* text) {
    std::string digits(text, strnlen(text, kWindowIdText - 1));
    digits.erase(0, 2);
    if (!digits.empty() && digits.back() == '\n') {
        digits.pop_back();
    }
    unsigned int number = 0;
    for (const char digit : digits) {
        number = number * 16 + hexDigit(digit);
    }
    return number;
}

void CKalloAgent::getStatus_(resultContent_t& result) {
    XMLNode document = beginAnswer_();
    response::addResult(document, protocol::success);
    response::addElement(document, protocol::kRefreshedElement,
                         m_vexaManager->takeRefreshed() ? "true" : "false");
    getWindowList(*m_windowList);
    for (const WindowInfo& window : *m_windowList) {
        XMLNode item = document.addChild(protocol::kItemElement);
        const bool active = parseWindowId(window.id.c_str()) == get_active_win_id();
        item.addAttribute(protocol::kActiveAttribute, active ? "yes" : "no");
        response::addElement(item, protocol::kWindowTitleElement, window.title);
        response::addElement(item, protocol::kWindowIdElement, window.id);
        response::addElement(item, protocol::kProcessElement, window.pid);
    }
    response::finishDeclared(document, result);
}
