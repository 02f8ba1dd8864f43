// What changed on the desktop between two polls of its windows; `kalloctl watch` prints it.
#pragma once

#include <string>
#include <vector>

#include "support/xmlParser.h"

namespace client {

struct Window {
    std::string id;  ///< as printed by the window manager's tool, "0x" and hexadecimal digits
    std::string pid;
    std::string title;
};

enum class ChangeKind { opened, closed, titled };

struct Change {
    ChangeKind kind;
    Window window;            ///< as it is now; a closed one, as it was
    std::string formerTitle;  ///< of a window whose title changed
};

/// The windows of a GetStatus answer, in its order.
std::vector<Window> windowsOf(const XMLNode& document);

/// The changes that lead from `before` to `after`: closed windows first, then the others in the
/// order of `after`. An id that now belongs to another process is a window closed and one opened.
std::vector<Change> changesBetween(const std::vector<Window>& before,
                                   const std::vector<Window>& after);

}  // namespace client
