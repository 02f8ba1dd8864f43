// The desktop's open windows, as the window tools print them.
#pragma once

#include <string>
#include <vector>

/// One line of the window list, texts as printed.
struct WindowInfo {
    std::string id;  ///< "0x" and hexadecimal digits
    std::string desktop;
    std::string pid;
    std::string title;  ///< the title's first word
};

/// What get_active_win_id() answers when nobody knows.
inline constexpr unsigned int kUnknownWindow = 0xFFFFFFFF;

/// Empties `windows` and fills it with the open windows in the window tool's order; it stays empty
/// without a desktop or without the tool. Runs the tool and waits for its output.
void getWindowList(std::vector<WindowInfo>& windows);

/// The active window's id, or kUnknownWindow.
unsigned int get_active_win_id();

/// The number of a window id such as "0x01e0000a". At most 127 characters count; an empty
/// remainder behind "0x" is 0.
unsigned int parseWindowId(const char* text);
