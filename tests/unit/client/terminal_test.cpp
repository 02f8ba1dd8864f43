// The real kalloctl as a person's terminal and signals meet it.
#include <gtest/gtest.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>

#include "fakeAgent.h"

namespace {

struct session_t {
    pid_t process;
    int terminal;
    std::string shown = "";

    // Reads what is shown until `text` is among it, or until the program is gone.
    bool awaits(const std::string& text) {
        char buffer[512];
        while (shown.find(text) == std::string::npos) {
            const ssize_t count = read(terminal, buffer, sizeof buffer);
            if (count <= 0) {
                return false;
            }
            shown.append(buffer, static_cast<size_t>(count));
        }
        return true;
    }
    bool echoes() const {
        termios mode = {};
        tcgetattr(terminal, &mode);
        return (mode.c_lflag & ECHO) != 0;
    }
    int end() {
        int status = 0;
        waitpid(process, &status, 0);
        close(terminal);
        return status;
    }
};

session_t startOnTerminal(const FakeAgent& agent, std::vector<std::string> words) {
    words.insert(words.begin(), {KALLOCTL, "--timeout", "30", "-p", std::to_string(agent.port())});
    std::vector<char*> argv;
    for (std::string& word : words) {
        argv.push_back(word.data());
    }
    argv.push_back(nullptr);
    session_t session = {};
    session.process = forkpty(&session.terminal, nullptr, nullptr, nullptr);
    if (session.process == 0) {
        execv(KALLOCTL, argv.data());
        _exit(127);
    }
    return session;
}

TEST(Terminal, NeverShowsThePassword) {
    FakeAgent agent(
        answering("<ZelvDocRoot version=\"1.2\"><errRtn>login_success</errRtn></ZelvDocRoot>\n"));
    session_t session = startOnTerminal(agent, {"login", "anna", "--plain"});
    ASSERT_TRUE(session.awaits("Password: "));
    EXPECT_FALSE(session.echoes());
    ASSERT_EQ(write(session.terminal, "geheim\n", 7), 7);
    EXPECT_TRUE(session.awaits("login_success"));
    EXPECT_TRUE(session.echoes());
    const int status = session.end();
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    EXPECT_EQ(session.shown.find("geheim"), std::string::npos);
    agent.finish();
    EXPECT_NE(agent.request.find("Z2VoZWlt"), std::string::npos) << agent.request;
}

TEST(Terminal, IsRestoredWhenThePromptIsInterrupted) {
    FakeAgent agent(script_t{});
    session_t session = startOnTerminal(agent, {"login", "anna"});
    ASSERT_TRUE(session.awaits("Password: "));
    ASSERT_EQ(write(session.terminal, "\003", 1), 1);
    int status = 0;
    waitpid(session.process, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGINT) << status;
    EXPECT_TRUE(session.echoes());
    close(session.terminal);
}

script_t answeringWindows(const std::string& windows) {
    return answering("<ZelvDocRoot version=\"1.2\"><errRtn>success</errRtn>" + windows +
                     "</ZelvDocRoot>\n");
}

TEST(Terminal, WatchTellsEachChange) {
    FakeAgent agent(std::vector<script_t>{
        answeringWindows("<isRefreshed>false</isRefreshed>"
                         "<item><win_title>Film</win_title><winid>0x1</winid><pid>7</pid></item>"),
        {},
        answeringWindows("<isRefreshed>true</isRefreshed>"
                         "<item><win_title>Radio</win_title><winid>0x2</winid><pid>8</pid></item>"),
    });
    session_t session = startOnTerminal(agent, {"watch", "--json", "--interval", "0.1"});
    EXPECT_TRUE(session.awaits("\"event\":\"opened\",\"winid\":\"0x2\",\"pid\":8,"));
    kill(session.process, SIGTERM);
    const int status = session.end();
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    size_t last = 0;
    for (const char* event : {"lost", "back", "refreshed", "closed", "opened"}) {
        const size_t place = session.shown.find("\"event\":\"" + std::string(event));
        EXPECT_TRUE(place != std::string::npos && place > last) << event << session.shown;
        last = place;
    }
}

TEST(Terminal, WatchEndsWellWhenInterruptedInTheMiddleOfAPoll) {
    for (const int number : {SIGINT, SIGTERM}) {
        FakeAgent agent(script_t{{announce(1)}, "", ending_t::hang});
        session_t session = startOnTerminal(agent, {"watch"});
        while (!agent.isGivenTheGoAhead()) {
            std::this_thread::sleep_for(std::chrono::milliseconds(5));
        }
        kill(session.process, number);
        const int status = session.end();
        EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
    }
}

}  // namespace
