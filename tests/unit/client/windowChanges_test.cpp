#include "client/windowChanges.h"

#include <gtest/gtest.h>

#include "client/protocol.h"

namespace client {
namespace {

// One line for each change: kind letter, id, title, former title.
std::string told(const std::vector<window_t>& before, const std::vector<window_t>& after) {
    std::string lines;
    for (const change_t& change : changesBetween(before, after)) {
        lines += "oct"[static_cast<int>(change.kind)];
        lines += " " + change.window.id + " " + change.window.title;
        lines += change.formerTitle.empty() ? "\n" : " < " + change.formerTitle + "\n";
    }
    return lines;
}

TEST(WindowChanges, AreTold) {
    const window_t player = {"0x1", "10", "Player"};
    const window_t radio = {"0x2", "20", "Radio"};
    EXPECT_EQ(told({}, {player, radio}), "o 0x1 Player\no 0x2 Radio\n");
    EXPECT_EQ(told({player, radio}, {radio, player}), "");
    EXPECT_EQ(told({player, radio}, {radio}), "c 0x1 Player\n");
    EXPECT_EQ(told({player}, {{"0x1", "10", "Film"}}), "t 0x1 Film < Player\n");
    // The id was given to a window of another process between the polls.
    EXPECT_EQ(told({player}, {{"0x1", "11", "Player"}}), "c 0x1 Player\no 0x1 Player\n");
}

TEST(WindowChanges, ReadsTheWindowsOfAnAnswer) {
    const std::vector<window_t> windows = windowsOf(parseAnswer(
        "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<ZelvDocRoot><errRtn>success</errRtn>"
        "<item active=\"no\"><win_title>A&amp;B</win_title><winid>0x1</winid><pid>7</pid></item>"
        "<item><winid>0x2</winid></item></ZelvDocRoot>"));
    ASSERT_EQ(windows.size(), 2U);
    EXPECT_EQ(windows[0].id + windows[0].pid + windows[0].title, "0x17A&B");
    EXPECT_EQ(windows[1].id + windows[1].pid + windows[1].title, "0x2");
}

}  // namespace
}  // namespace client
