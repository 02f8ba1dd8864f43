// The command runner's core and its run functions: what a command gets and what its caller learns.
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <csignal>
#include <sstream>

#include "commandTestTools.h"
#include "support/commandDescriptors.h"

namespace {

class CommandRunner : public CommandTest {};

TEST_F(CommandRunner, ReturnsTheExitCode) {
    const struct {
        Words words;
        int code;
        const char* log;
    } rows[] = {
        {{"true"}, 0, ""},
        {{"false"}, 1, ""},
        {{"sh", "-c", "exit 255"}, 255, ""},
        {{"sh", "-c", "kill -KILL $$"}, 0, ""},
        {{"/nonexistent/program"}, 1, ""},
        {{"sh", "-c", "exit 7", "&"}, 0, ""},
        {{"/nonexistent/program", "&"}, 0, ""},
        {{"sh", "-c", "exit 7", "&", "true"}, 0, ""},
        {{"false", "|", "true"}, 0, ""},
        {{"true", "|", "false"}, 1, ""},
        {{"echo", "b", "|", "tr", "b", "c", "|", "grep", "-q", "c"}, 0, ""},
        {{"echo", "b", "|", "tr", "b", "c", "|", "grep", "-q", "b"}, 1, ""},
        {{"/nonexistent/program", "|", "grep", "-c", "x"}, 1, ""},
        {{"test", "||", "=", "||"}, 0, ""},
        {{"test", "&&", "=", "&&"}, 0, ""},
        {{"test", "&x", "=", "|x"}, 1, ""},
        {{}, -1, "cannot execvp NULL command"},
        {{"&"}, -1, "cannot execvp NULL command"},
        {{"true", "|"}, -1, "cannot execvp NULL command"},
        {{"true", "|", "&"}, -1, "cannot execvp NULL command"},
        {{"|", "true"}, 0, "cannot execvp NULL command"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::PrintToString(row.words));
        EXPECT_EQ(run(row.words), row.code);
        EXPECT_EQ(contentOf(m_log), *row.log == '\0' ? "" : logLine("WARN", row.log));
        std::filesystem::remove(m_log);
    }
    EXPECT_EQ(exec_pipeline(-1, -1, -1, nullptr, 0, nullptr), -1);
}

TEST_F(CommandRunner, RefusesPipesIntoInterpreters) {
    const struct {
        const char* name;
        bool isRefused;
    } rows[] = {{"sh", true},         {"my-sh", true},   {"ksh93", true},  {"busybox", true},
                {"php", true},        {"python", true},  {"zsh", true},    {"python3.8", true},
                {"pythonic-x", true}, {"flash", false},  {"shx", false},   {"SH", false},
                {"php7", false},      {"mypfsh", false}, {"bash.x", false}};
    for (const auto& row : rows) {
        // Every one of them would succeed.
        const std::string program = path(row.name);
        std::filesystem::create_symlink("/bin/true", program);
        SCOPED_TRACE(program);
        EXPECT_EQ(run({"true", "|", program}), row.isRefused ? 1 : 0);
        EXPECT_EQ(contentOf(m_log),
                  row.isRefused ? logLine("WARN", "insecure exec pipeline " + program) : "");
        EXPECT_EQ(run({program, "|", "true"}), 0);
        EXPECT_EQ(run({program}), 0);
        std::filesystem::remove(m_log);
    }
}

TEST_F(CommandRunner, RefusalInTheMiddleNamesTheCallersProcess) {
    EXPECT_EQ(outputOf({"echo", "x", "|", "sh", "|", "wc", "-c", "&"}), "0\n");
    // The last stage reads to the end, so the line is written by then.
    EXPECT_EQ(run({"echo", "x", "|", "sh", "|", "cat"}), 0);
    EXPECT_EQ(contentOf(m_log), logLine("WARN", "insecure exec pipeline sh"));
}

TEST_F(CommandRunner, CommandsHoldOnlyTheirStandardStreams) {
    std::vector<int> held(300);
    for (int& fd : held) {
        fd = open("/dev/null", O_RDWR);  // inheritable
    }
    // 3 is the listing's own.
    const std::string standardOnly = "0\n1\n2\n3\n";
    const char* const folder = "/proc/self/fd";
    EXPECT_EQ(outputOf({"ls", folder}), standardOnly);
    EXPECT_EQ(outputOf({"ls", folder, "&"}), standardOnly);
    EXPECT_EQ(outputOf({"ls", folder, "&"}, 1), standardOnly);
    EXPECT_EQ(outputOf({"true", "|", "ls", folder, "&"}), standardOnly);
    EXPECT_EQ(outputOf({"ls", folder, "|", "cat", "&"}), standardOnly);
    const pid_t child = fork();
    if (child == 0) {
        support::closeOtherDescriptorsOneByOne();
        _exit(std::all_of(held.begin(), held.end(), [](int fd) { return close(fd) != 0; }) ? 0 : 1);
    }
    EXPECT_EQ(statusOf(child), 0);
    for (int fd : held) {
        close(fd);
    }
}

TEST_F(CommandRunner, RunsFromAProcessWithoutStandardStreams) {
    const pid_t child = fork();
    if (child == 0) {
        for (int fd : {0, 1, 2}) {
            close(fd);
        }
        // The pipe and the files now take the numbers of the standard streams.
        const bool reads = drain(exec_popen_read("echo", "x", nullptr)) == "x\n";
        const int code = exec_run_to_files(path("out").c_str(), path("err").c_str(), nullptr, "sh",
                                           "-c", "cat; echo out; echo err >&2", nullptr);
        _exit(reads && code == 0 ? 0 : 1);
    }
    EXPECT_EQ(statusOf(child), 0);
    EXPECT_EQ(contentOf(path("out")), "out\n");
    EXPECT_EQ(contentOf(path("err")), "err\n");
}

/// The lines of `text` that begin with one of `starts`.
std::string linesOf(const std::string& text, const Words& starts) {
    std::istringstream lines(text);
    std::string found;
    for (std::string line; std::getline(lines, line);) {
        if (std::find(starts.begin(), starts.end(), line.substr(0, 6)) != starts.end()) {
            found += line + "\n";
        }
    }
    return found;
}

TEST_F(CommandRunner, StartsWithTheCallersSignalsAndNoHandlers) {
    sigset_t blocked;
    sigset_t before;
    sigemptyset(&blocked);
    sigaddset(&blocked, SIGUSR1);
    pthread_sigmask(SIG_SETMASK, &blocked, &before);
    const auto ignored = signal(SIGUSR2, SIG_IGN);
    const auto handled = signal(SIGHUP, [](int) {});
    const char* const status = "/proc/self/status";
    const std::string masks = linesOf(contentOf(status), {"SigBlk", "SigIgn"});
    EXPECT_EQ(masks.find("SigBlk:\t0000000000000200\n"), 0U);
    for (const Words& words : {Words{"cat", status, "&"}, Words{"true", "|", "cat", status}}) {
        EXPECT_EQ(linesOf(outputOf(words), {"SigBlk", "SigIgn", "SigCgt"}),
                  masks + "SigCgt:\t0000000000000000\n");
    }
    signal(SIGUSR2, ignored);
    signal(SIGHUP, handled);
    sigset_t after;
    pthread_sigmask(SIG_SETMASK, &before, &after);
    EXPECT_EQ(sigismember(&after, SIGUSR1), 1);
    EXPECT_EQ(sigismember(&after, SIGTERM), 0);
}

TEST_F(CommandRunner, BackgroundMeansASessionOfItsOwn) {
    // proc(5): the first field is the process, the sixth its session.
    const Words cut = {"cut", "-d", " ", "-f", "1,6", "/proc/self/stat"};
    const auto hasOwnSession = [&cut](const Words& before, const Words& after) {
        Words words(before);
        words.insert(words.end(), cut.begin(), cut.end());
        words.insert(words.end(), after.begin(), after.end());
        std::istringstream fields(outputOf(words));
        int process = 0;
        int session = 0;
        fields >> process >> session;
        EXPECT_NE(session, 0);
        return process == session;
    };
    EXPECT_TRUE(hasOwnSession({}, {"&"}));
    EXPECT_TRUE(hasOwnSession({}, {"|", "cat"}));
    EXPECT_FALSE(hasOwnSession({"true", "|"}, {}));
    EXPECT_FALSE(hasOwnSession({}, {}));
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
    const auto both = [&] { return contentOf(out) + contentOf(err); };
    const mode_t mask = umask(0);
    EXPECT_EQ(exec_run_out_err(out.c_str(), err.c_str(), "sh", "-c", script, nullptr), 0);
    umask(mask);
    struct stat info {};
    ASSERT_EQ(stat(out.c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 07777, 0774U);
    Vector vector({"replaced", "-c", script});
    EXPECT_EQ(exec_run_to_files_argv(out.c_str(), nullptr, nullptr, "sh", vector.data()), 0);
    EXPECT_EQ(both(), "out\nout\nerr\n");
    EXPECT_STREQ(vector.data()[0], "replaced");
    EXPECT_EQ(
        exec_run_to_files("/nonexistent/out", err.c_str(), nullptr, "sh", "-c", script, nullptr),
        0);
    EXPECT_EQ(both(), "out\nout\nerr\nerr\n");
    write("in", "input\n");
    Vector cat({"", "-", "|", "cat"});
    EXPECT_EQ(exec_run_redirect_argv(path("in").c_str(), out.c_str(), err.c_str(), nullptr,
                                     O_WRONLY | O_TRUNC, O_WRONLY | O_APPEND, "cat", cat.data()),
              0);
    EXPECT_EQ(both(), "input\nerr\nerr\n");
    const int in = open(path("in").c_str(), O_RDONLY);
    lseek(in, 0, SEEK_END);
    EXPECT_EQ(exec_pipeline(in, -1, -1, nullptr, 0, Vector({"grep", "-q", "input"}).data()), 0);
    close(in);
}

TEST_F(CommandRunner, ExpandsWildcards) {
    std::filesystem::create_directory(path("folder"));
    std::filesystem::create_directory_symlink(path("folder"), path("link"));
    for (const char* name : {"d.txt", "b.txt", "a.txt", "c.txt", "folder/x"}) {
        write(name, "");
    }
    std::string inDirectoryOrder;
    for (const auto& entry : std::filesystem::directory_iterator(m_folder)) {
        if (entry.path().extension() == ".txt") {
            inDirectoryOrder += entry.path().string() + " ";
        }
    }
    EXPECT_EQ(outputOf({"echo", path("*.txt"), path("no*"), "[", path("{c,a}.txt"), path("*/x"),
                        "*.none", "&"},
                       1),
              inDirectoryOrder + path("no*") + " [ " + path("c.txt") + " " + path("a.txt") + " " +
                  path("folder/x") + " *.none\n");
    EXPECT_EQ(outputOf({"echo", path("*.txt"), "&"}, 0), path("*.txt") + "\n");
    EXPECT_EQ(exec_run_glob("test", "-d", path("fold*").c_str(), nullptr), 0);
    EXPECT_EQ(exec_run("test", "-d", path("fold*").c_str(), nullptr), 1);
    EXPECT_EQ(exec_run_to_files_glob(path("out").c_str(), nullptr, nullptr, "echo",
                                     path("fold*").c_str(), nullptr),
              0);
    EXPECT_EQ(contentOf(path("out")), path("folder") + "\n");
}

}  // namespace
