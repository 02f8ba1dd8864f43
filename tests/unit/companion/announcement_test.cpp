#include "companion/announcement.h"

#include <gtest/gtest.h>

#include <ostream>

namespace companion {

using enum Announcement::State;

static std::ostream& operator<<(std::ostream& out, const Announcement& found) {
    return out << static_cast<int>(found.state()) << " " << found.fault();
}

static std::string announce(const std::string& size) {
    return "<ZelvDocRoot version=\"1.2\">\n\t<size>\n\t\t" + size + "\n\t</size>\n</ZelvDocRoot>";
}

TEST(Announcement, IsReadInPiecesOfAnySize) {
    const struct {
        std::string text;
        Announcement::State state;
        uint64_t size = 0;
        std::string fault = "";
    } rows[] = {
        {"", unfinished},
        {announce("9"), sized, 9},
        {announce("9") + "\n", whole, 9},
        {announce("0") + "\n", whole, 0},
        {announce("268435456"), sized, kPayloadLimit},
        {announce("268435457"), malformed, 0, "268435457 bytes, which is too much"},
        {announce("18446744073709551616"), malformed, 0, "names no size"},
        {announce("9x"), malformed, 0, "names no size"},
        {"no document </ZelvDocRoot>", malformed, 0, "names no size"},
        {announce("9").substr(0, 30), unfinished},
        {std::string(4095, ' '), unfinished},
        {std::string(4096, ' '), malformed, 0, "has no end"},
    };
    for (const auto& row : rows) {
        for (const size_t piece : {size_t{1}, size_t{7}, size_t{4096}}) {
            SCOPED_TRACE(row.text.substr(0, 90) + " in pieces of " + std::to_string(piece));
            Announcement found;
            for (size_t i = 0; i < row.text.size(); i += piece) {
                EXPECT_GT(found.wanted(), 0);
                found.take(row.text.substr(i, piece));
            }
            EXPECT_EQ(found.state(), row.state) << found;
            EXPECT_EQ(found.state() == malformed ? 0 : found.size(), row.size);
            EXPECT_NE(found.fault().find(row.fault), std::string::npos) << found;
            EXPECT_EQ(found.text(), row.text);
        }
    }
}

// Whoever reads no more than is wanted leaves the payload alone, be its first byte a line feed.
TEST(Announcement, LeavesThePayloadAlone) {
    const std::string stream = announce("3") + "\n\nab";
    Announcement found;
    size_t read = 0;
    while (found.wanted() > 0) {
        const size_t arrived = found.state() == sized ? 1 : announce("3").size();
        const size_t count = std::min(found.wanted(), arrived);
        found.take(stream.substr(read, count));
        read += count;
    }
    EXPECT_EQ(stream.substr(read), "\nab");
    EXPECT_EQ(found.take("\nab"), whole);
    EXPECT_EQ(found.text(), announce("3") + "\n");
}

TEST(Announcement, EndsWithTheConnection) {
    const std::pair<std::string, Announcement::State> rows[] = {
        {"", silent}, {"<Zelv", malformed}, {announce("4"), whole}, {announce("x"), malformed}};
    for (const auto& [text, state] : rows) {
        Announcement found;
        found.take(text);
        EXPECT_EQ(found.end(), state) << text;
        EXPECT_EQ(found.wanted(), 0) << text;
    }
}

}  // namespace companion
