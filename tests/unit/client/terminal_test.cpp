// The real kalloctl as a person's terminal and signals meet it.
#include <gtest/gtest.h>
#include <poll.h>
#include <pty.h>
#include <sys/wait.h>
#include <termios.h>
#include <unistd.h>

#include <csignal>
#include <regex>

#include "fakeAgent.h"

namespace {

// kalloctl running on a terminal of its own; a shell does what stands before and behind it.
class Session {
  public:
    Session(const FakeAgent& agent, const std::string& words, const std::string& before = "exec ",
            const std::string& behind = "") {
        const std::string line = before + KALLOCTL " --timeout 30 -p " +
                                 std::to_string(agent.port) + " " + words + behind;
        process = forkpty(&terminal, nullptr, nullptr, nullptr);
        if (process == 0) {
            execl("/bin/sh", "sh", "-c", line.c_str(), nullptr);
            _exit(127);
        }
    }
    ~Session() { close(terminal); }

    // Reads what is shown until `text` is among it, or until the program is gone.
    bool awaits(const std::string& text) {
        char buffer[512];
        ssize_t count = 1;
        while (shown.find(text) == std::string::npos && count > 0) {
            count = read(terminal, buffer, sizeof buffer);
            shown.append(buffer, count > 0 ? static_cast<size_t>(count) : 0);
        }
        return count > 0;
    }
    // Presses a key, again and again, until `text` is shown: the program may not be reading yet.
    bool showsUponKey(char key, const std::string& text) {
        for (pollfd screen = {terminal, POLLIN, 0}; shown.find(text) == std::string::npos;) {
            char byte = 0;
            if (write(terminal, &key, 1) != 1) {
                return false;
            }
            while (poll(&screen, 1, 50) == 1 && read(terminal, &byte, 1) == 1) {
                shown += byte;
            }
        }
        return true;
    }
    bool echoes() const {
        termios mode{};
        tcgetattr(terminal, &mode);
        return (mode.c_lflag & ECHO) != 0;
    }
    // The exit status, or minus the signal that ended the program.
    int end() const {
        int status = 0;
        waitpid(process, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }

    pid_t process = 0;
    int terminal = -1;
    std::string shown;
};

TEST(Terminal, NeverShowsThePassword) {
    FakeAgent agent(answeringFields("<errRtn>login_success</errRtn>"));
    Session session(agent, "login anna --plain");
    ASSERT_TRUE(session.awaits("Password: "));
    EXPECT_FALSE(session.echoes());
    dprintf(session.terminal, "geheim\n");
    EXPECT_TRUE(session.awaits("login_success"));
    EXPECT_TRUE(session.echoes());
    EXPECT_EQ(session.end(), 0);
    EXPECT_EQ(session.shown.find("geheim"), std::string::npos);
    agent.finish();
    EXPECT_NE(agent.request.find("Z2VoZWlt"), std::string::npos) << agent.request;
}

TEST(Terminal, GetsItsEchoBackFromAnInterruptedPrompt) {
    constexpr char kControlC = 'C' & 0x1F;
    constexpr char kControlZ = 'Z' & 0x1F;
    const FakeAgent agent(Script{});
    Session session(agent, "login anna", "set -m; trap : INT; ",
                    "; echo [$?]; read go; fg; echo [$?]; read go");
    ASSERT_TRUE(session.awaits("Password: "));
    EXPECT_FALSE(session.echoes());
    EXPECT_TRUE(session.showsUponKey(kControlZ, "[148]"));
    EXPECT_TRUE(session.echoes());
    session.shown.clear();
    dprintf(session.terminal, "\n");
    ASSERT_TRUE(session.awaits("Password: "));
    EXPECT_FALSE(session.echoes());
    EXPECT_TRUE(session.showsUponKey(kControlC, "[130]"));
    EXPECT_TRUE(session.echoes());
}

Script answeringWindow(const std::string& refreshed, const std::string& id) {
    return answeringFields("<errRtn>success</errRtn><isRefreshed>" + refreshed +
                           "</isRefreshed><item><winid>" + id + "</winid><pid>7</pid></item>");
}

TEST(Terminal, EmphasisesHeadingsUnlessTheUserForbidsColour) {
    for (const auto& [environment, isEmphasised] :
         {std::pair{"-u NO_COLOR", true}, {"NO_COLOR=", true}, {"NO_COLOR=1", false}}) {
        const FakeAgent agent(answeringWindow("false", "0x1"));
        Session session(agent, "status", "exec env " + std::string(environment) + " ");
        EXPECT_TRUE(session.awaits("0x1")) << session.shown;
        EXPECT_EQ(session.shown.find("\033[1m") != std::string::npos, isEmphasised) << environment;
        EXPECT_EQ(session.end(), 0);
    }
}

TEST(Terminal, IsSparedAnIcon) {
    FakeAgent agent(answering("\x89\033[2J"));
    Session session(agent, "icon P pad -o -");
    EXPECT_TRUE(session.awaits("not for a terminal"));
    EXPECT_EQ(session.end(), 2);
    agent.finish();
    EXPECT_EQ(agent.request, "");
}

TEST(Terminal, WatchTellsEachChange) {
    FakeAgent agent({answeringWindow("false", "0x1"), {}, answeringWindow("true", "0x2")});
    Session session(agent, "watch --json --interval 0.1");
    EXPECT_TRUE(session.awaits("\"event\":\"opened\",\"winid\":\"0x2\",\"pid\":7,"));
    kill(session.process, SIGTERM);
    EXPECT_EQ(session.end(), 0);
    EXPECT_TRUE(std::regex_search(session.shown, std::regex("\"time\":\"[0-9-]+T[0-9:]+Z\"")));
    size_t last = 0;
    for (const char* event : {"lost", "back", "refreshed", "closed", "opened"}) {
        const size_t place = session.shown.find("\"event\":\"" + std::string(event), last + 1);
        EXPECT_NE(place, std::string::npos) << event << session.shown;
        last = place;
    }
}

}  // namespace
