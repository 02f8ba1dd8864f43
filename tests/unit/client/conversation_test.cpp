#include "client/conversation.h"

#include <gtest/gtest.h>

#include "client/connection.h"
#include "fakeAgent.h"

namespace client {
namespace {

using namespace std::literals;

// What a conversation comes to: "got" and the payload, "silence", or "failure" and the reason.
std::string converse(const FakeAgent& agent) {
    std::string error;
    std::string payload;
    Conversation conversation(connectTcp("localhost", agent.port, 300ms, error));
    const reply_t reply = conversation.ask("<a/>");
    if (reply == reply_t::silence) {
        return "silence" + conversation.error();
    }
    const bool isWhole = reply == reply_t::announced && conversation.receive(payload);
    return isWhole ? "got " + payload + conversation.error() : "failure " + conversation.error();
}

std::string sized(const char* size) {
    return "<ZelvDocRoot><size>"s + size + "</size></ZelvDocRoot>\n";
}

TEST(Conversation, OutcomesAreToldApart) {
    const std::string nine = announce(9);
    const std::string unended = nine.substr(0, nine.size() - 1);
    const std::string late = "failure the agent did not answer within the timeout";
    const std::string noSize = "failure the agent's announcement names no size";
    const auto alone = end_t::announcement;
    const struct {
        script_t script;
        std::string outcome;
    } rows[] = {
        {{{nine}, "nine byte"}, "got nine byte"},
        {{{nine.substr(0, 5), nine.substr(5)}, "nine byte"}, "got nine byte"},
        {{{unended, "\n"}, "\nine byte"}, "got \nine byte"},  // a line feed that lags behind
        {{{unended}, "\nine byte"}, "got \nine byte"},        // one that never comes
        {{{announce(4)}, "\0\xFF\r\n"s}, "got \0\xFF\r\n"s},
        {{{nine}, "short"}, "failure the answer ended after 5 of 9 bytes"},
        {{{}, "", end_t::never}, late},
        {{}, "silence"},
        {{{sized("3").substr(0, 20)}, "", alone}, "failure the agent's announcement is cut short"},
        {{{std::string(5000, ' ')}, "", alone}, "failure the agent's announcement has no end"},
        {{{sized("x")}}, noSize},
        {{{sized("268435457")}}, "failure the agent announces 268435457 bytes, which is too much"},
    };
    for (const auto& row : rows) {
        FakeAgent agent(row.script);
        EXPECT_EQ(converse(agent), row.outcome);
        agent.finish();
        EXPECT_EQ(agent.isGivenTheGoAhead, !row.script.payload.empty()) << row.outcome;
        EXPECT_EQ(agent.request, "<a/>");
    }
}

}  // namespace
}  // namespace client
