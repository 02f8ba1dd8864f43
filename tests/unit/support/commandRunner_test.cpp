// The command runner's core and its run functions: what a command gets and what its caller learns.
#include <fcntl.h>

#include <algorithm>
#include <csignal>

#include "commandTestTools.h"

class CommandRunner : public CommandTest {};

const std::string kNoCommand = "[WARN] cannot execvp NULL command\n";

TEST_F(CommandRunner, ReturnsTheExitCode) {
    const std::tuple<Words, int, std::string> rows[] = {
        {{"sh", "-c", "exit 255"}, 255, ""},
        {{"sh", "-c", "kill -KILL $$"}, 0, ""},
        {{"/nonexistent/program"}, 1, ""},
        {{"sh", "-c", "exit 7", "&"}, 0, ""},
        {{"echo", "b", "|", "tr", "b", "c", "|", "grep", "-q", "c"}, 0, ""},
        {{"/nonexistent/program", "|", "grep", "-c", "x"}, 1, ""},
        {{"test", "||", "=", "||"}, 0, ""},
        {{}, -1, kNoCommand},
        {{"&"}, -1, kNoCommand},
        {{"|", "true"}, 0, kNoCommand},
    };
    for (const auto& [words, code, log] : rows) {
        EXPECT_EQ(run(words), code) << testing::PrintToString(words);
        EXPECT_EQ(logged(), log) << testing::PrintToString(words);
    }
    EXPECT_EQ(exec_pipeline(-1, -1, -1, nullptr, 0, nullptr), -1);
}

TEST_F(CommandRunner, RefusesPipesIntoInterpreters) {
    const Words refused = {"my-sh",  "ksh93", "busybox",   "php",
                           "python", "zsh",   "python3.8", "pythonic-x"};
    Words names = {"flash", "shx", "SH", "php7", "mypfsh", "bash.x"};
    names.insert(names.end(), refused.begin(), refused.end());
    for (const std::string& name : names) {
        // Every one of them would succeed.
        std::filesystem::create_symlink("/bin/true", path(name));
        const bool isRefused = std::ranges::count(refused, name) == 1;
        EXPECT_EQ(run({"true", "|", path(name)}), isRefused ? 1 : 0);
        EXPECT_EQ(logged(), isRefused ? "[WARN] insecure exec pipeline " + path(name) + "\n" : "");
        EXPECT_EQ(run({path(name), "|", "true"}), 0);
        EXPECT_EQ(run({path(name)}), 0);
    }
    // In the middle of a pipeline, too, and it is the caller's process that is named.
    EXPECT_EQ(outputOf({"echo", "x", "|", "sh", "|", "wc", "-c", "&"}), "0\n");
    EXPECT_EQ(run({"echo", "x", "|", "sh", "|", "cat"}), 0);
    EXPECT_EQ(logged(), "[WARN] insecure exec pipeline sh\n");
}

TEST_F(CommandRunner, CommandsHoldOnlyTheirStandardStreams) {
    std::vector<int> held(300);
    for (int& fd : held) {
        fd = open("/dev/null", O_RDWR);  // inheritable
    }
    const std::string folder = "/proc/self/fd";
    const std::string standardOnly = "0\n1\n2\n3\n";  // 3 is the listing's own
    EXPECT_EQ(outputOf({"ls", folder}), standardOnly);
    EXPECT_EQ(outputOf({"ls", folder, "&"}, 1), standardOnly);
    EXPECT_EQ(outputOf({"true", "|", "ls", folder, "&"}), standardOnly);
    EXPECT_EQ(outputOf({"ls", folder, "|", "cat", "&"}), standardOnly);
    std::for_each(held.begin(), held.end(), close);
}

TEST_F(CommandRunner, StartsWithTheCallersSignalsAndNoHandlers) {
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGUSR1);
    pthread_sigmask(SIG_SETMASK, &blocked, &before);
    const auto ignored = signal(SIGUSR2, SIG_IGN);
    const auto handled = signal(SIGHUP, [](int) {});
    const std::string own = contentOf("/proc/self/status");
    const size_t place = own.find("SigBlk:\t0000000000000200\nSigIgn:");
    ASSERT_NE(place, std::string::npos);
    const std::string expected = own.substr(place, 50) + "SigCgt:\t0000000000000000\n";
    const std::string look = "/^Sig[BIC]/p";
    EXPECT_EQ(outputOf({"sed", "-n", look, "/proc/self/status", "&"}), expected);
    EXPECT_EQ(outputOf({"true", "|", "sed", "-n", look, "/proc/self/status"}), expected);
    signal(SIGUSR2, ignored);
    signal(SIGHUP, handled);
    sigset_t after;
    pthread_sigmask(SIG_SETMASK, &before, &after);
    EXPECT_TRUE(sigismember(&after, SIGUSR1) == 1 && sigismember(&after, SIGTERM) == 0);
}

TEST_F(CommandRunner, BackgroundMeansASessionOfItsOwn) {
    // proc(5): the first field is the process, the sixth its session.
    const std::string say =
        "read pid b c d e session rest </proc/$$/stat; [ $pid = $session ] && echo own";
    EXPECT_EQ(outputOf({"sh", "-c", say, "&"}), "own\n");
    EXPECT_EQ(outputOf({"sh", "-c", say, "|", "cat"}), "own\n");
    EXPECT_EQ(outputOf({"sh", "-c", say}), "");
}

TEST_F(CommandRunner, ChildrenDoNotFlushTheCallersStreams) {
    FILE* file = fopen(path("buffered").c_str(), "w");
    fputs("once", file);
    run({"true", "|", "sh"});
    run({"true", "|", "/nonexistent/program"});
    run({"/nonexistent/program"});
    fclose(file);
    EXPECT_EQ(contentOf(path("buffered")), "once");
}

TEST_F(CommandRunner, RedirectsToFiles) {
    const std::string out = path("out");
    const std::string err = path("err");
    const char* const script = "echo out; echo err >&2";
    EXPECT_EQ(exec_run_out_err(out.c_str(), err.c_str(), "sh", "-c", script, nullptr), 0);
    Words words = {"replaced", "-c", "cat; echo more >&2"};
    std::vector<char*> vector = pointersTo(words);
    EXPECT_EQ(exec_run_redirect_argv(write("in", "in\n").c_str(), out.c_str(), err.c_str(), nullptr,
                                     O_WRONLY | O_TRUNC, O_WRONLY | O_APPEND, "sh", vector.data()),
              0);
    EXPECT_EQ(contentOf(out) + contentOf(err), "in\nerr\nmore\n");
}

TEST_F(CommandRunner, ExpandsWildcards) {
    std::filesystem::create_directory(path("folder"));
    std::filesystem::create_directory_symlink(path("folder"), path("link"));
    write("folder/x");
    // A directory behind a link is looked into once, and what matches nothing stays as it is.
    EXPECT_EQ(outputOf({"echo", path("no*"), path("*/x"), "&"}, 1),
              path("no* ") + path("folder/x\n"));
}
