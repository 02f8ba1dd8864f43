#include "client/windowChanges.h"

#include <gtest/gtest.h>

namespace client {

// One line for each change: first letter of its kind, id, title, former title.
static std::string told(const std::vector<Window>& before, const std::vector<Window>& after) {
    std::string lines;
    for (const Change& change : changesBetween(before, after)) {
        lines += "oct"[static_cast<int>(change.kind)];
        lines += " " + change.window.id + " " + change.window.title;
        lines += change.formerTitle.empty() ? "\n" : " < " + change.formerTitle + "\n";
    }
    return lines;
}

TEST(WindowChanges, AreTold) {
    const Window player = {"0x1", "10", "Player"};
    const Window radio = {"0x2", "20", "Radio"};
    EXPECT_EQ(told({player}, {radio, player}), "o 0x2 Radio\n");
    EXPECT_EQ(told({player, radio}, {radio}), "c 0x1 Player\n");
    EXPECT_EQ(told({player}, {{"0x1", "10", "Film"}}), "t 0x1 Film < Player\n");
    // The id was given to a window of another process between the polls.
    EXPECT_EQ(told({player}, {{"0x1", "11", "Player"}}), "c 0x1 Player\no 0x1 Player\n");
}

}  // namespace client
