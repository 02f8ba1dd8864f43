#include "client/conversation.h"

#include <gtest/gtest.h>

#include "client/connection.h"
#include "fakeAgent.h"

namespace client {
namespace {

using namespace std::chrono_literals;

struct outcome_t {
    const char* name;
    script_t script;
    reply_t reply;
    bool received;
    const char* error;  ///< a part of it; empty: none
};

std::string cutAt(size_t position, const std::string& text, bool tail) {
    return tail ? text.substr(position) : text.substr(0, position);
}

class Outcomes : public testing::TestWithParam<outcome_t> {};

TEST_P(Outcomes, AreToldApart) {
    const outcome_t& row = GetParam();
    FakeAgent agent(row.script);
    std::string error;
    auto socket = connectTcp("localhost", agent.port(), 300ms, error);
    ASSERT_NE(socket, nullptr) << error;
    {
        Conversation conversation(std::move(socket));
        std::string payload;
        EXPECT_EQ(conversation.ask("<a/>"), row.reply);
        if (row.reply == reply_t::announced) {
            EXPECT_EQ(conversation.receive(payload), row.received);
        }
        EXPECT_EQ(conversation.error().empty(), *row.error == '\0') << conversation.error();
        EXPECT_NE(conversation.error().find(row.error), std::string::npos) << conversation.error();
        if (row.received) {
            EXPECT_EQ(payload, row.script.payload);
        }
    }
    agent.finish();
    EXPECT_EQ(agent.request, "<a/>");
    EXPECT_EQ(agent.goAhead.empty(), row.reply != reply_t::announced || row.script.payload.empty());
}

const std::string nine = announce(9);

INSTANTIATE_TEST_SUITE_P(
    Conversation, Outcomes,
    testing::Values(
        outcome_t{"whole", {{nine}, "nine byte"}, reply_t::announced, true, ""},
        outcome_t{"segments",
                  {{cutAt(5, nine, false), cutAt(5, nine, true)}, "nine byte"},
                  reply_t::announced,
                  true,
                  ""},
        // The payload begins with a line feed too, which must not be taken for the lagging one.
        outcome_t{"laggingLineFeed",
                  {{cutAt(nine.size() - 1, nine, false), "\n"}, "\nine byte"},
                  reply_t::announced,
                  true,
                  ""},
        outcome_t{"noLineFeed",
                  {{cutAt(nine.size() - 1, nine, false)}, "\nine byte"},
                  reply_t::announced,
                  true,
                  ""},
        outcome_t{
            "binary", {{announce(4)}, std::string("\0\xFF\r\n", 4)}, reply_t::announced, true, ""},
        outcome_t{"nothingToGoAheadFor", {{announce(0)}, ""}, reply_t::announced, true, ""},
        outcome_t{"shortPayload", {{nine}, "short"}, reply_t::announced, false, "5 of 9 bytes"},
        outcome_t{"stuckPayload",
                  {{nine}, "short", ending_t::hang},
                  reply_t::announced,
                  false,
                  "timeout"},
        outcome_t{"silence", {{}}, reply_t::silence, false, ""},
        outcome_t{"stuck", {{}, "", ending_t::hang}, reply_t::failure, false, "timeout"},
        outcome_t{"cutAnnouncement",
                  {{"<ZelvDocRoot><size>3"}, "", ending_t::close, false},
                  reply_t::failure,
                  false,
                  "cut short"},
        outcome_t{"endlessAnnouncement",
                  {{std::string(5000, ' ')}, "", ending_t::close, false},
                  reply_t::failure,
                  false,
                  "no end"},
        outcome_t{"noSize",
                  {{"<ZelvDocRoot><size>x</size></ZelvDocRoot>\n"}},
                  reply_t::failure,
                  false,
                  "no size"},
        outcome_t{"negativeSize",
                  {{"<ZelvDocRoot><size>-1</size></ZelvDocRoot>\n"}},
                  reply_t::failure,
                  false,
                  "no size"},
        outcome_t{"hugeSize", {{announce(SIZE_MAX)}}, reply_t::failure, false, "too much"}),
    [](const auto& info) { return std::string(info.param.name); });

TEST(Conversation, SendsUpToTheLimitAndNoMore) {
    for (const size_t size : {requestLimit, requestLimit + 1, size_t{0}}) {
        FakeAgent agent(answering("x"));
        std::string error;
        const std::string request(size, 'a');
        {
            Conversation conversation(connectTcp("127.0.0.1", agent.port(), 1s, error));
            const bool fits = size == requestLimit;
            EXPECT_EQ(conversation.ask(request), fits ? reply_t::announced : reply_t::failure);
        }
        agent.finish();
        EXPECT_EQ(agent.request, size == requestLimit ? request : "");
    }
}

TEST(Connection, NamesTheReason) {
    std::string error;
    EXPECT_EQ(connectTcp("no-such-host.invalid", 1, 1s, error), nullptr);
    EXPECT_NE(error.find("no-such-host.invalid"), std::string::npos);
    EXPECT_EQ(connectLocal("/nonexistent/channel", 1s, error), nullptr);
    EXPECT_EQ(error, "/nonexistent/channel: No such file or directory");
}

}  // namespace
}  // namespace client
