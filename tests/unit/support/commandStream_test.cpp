// Streams on commands: directions, failures, closing, and many threads at once.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <atomic>
#include <cerrno>
#include <thread>

#include "commandTestTools.h"
#include "support/commandOutput.h"
#include "support/wordSplit.h"

namespace {

class CommandStream : public CommandTest {};

size_t openDescriptors() {
    const std::filesystem::directory_iterator listing("/proc/self/fd");
    return static_cast<size_t>(std::distance(begin(listing), end(listing)));
}

TEST_F(CommandStream, ReadsWhatTheCommandPrints) {
    EXPECT_EQ(drain(exec_popen("r", "echo", "a", "b", nullptr)), "a b\n");
    EXPECT_EQ(drain(exec_popen("r+", "echo", "a", nullptr)), "a\n");
    EXPECT_EQ(drain(exec_popen_read("echo", "a", "|", "tr", "a", "b", nullptr)), "b\n");
    EXPECT_EQ(drain(exec_popen_read("/nonexistent/program", nullptr)), "");
    write("file", "");
    EXPECT_EQ(drain(exec_popen_glob("r", "echo", path("f?le").c_str(), nullptr)),
              path("file") + "\n");
    // A command that is not detached prints more than a pipe holds before anybody reads.
    EXPECT_EQ(outputOf({"head", "-c", "300000", "/dev/zero"}).size(), 300000U);
    // Detached output wider than a pipe as well.
    EXPECT_EQ(outputOf({"head", "-c", "300000", "/dev/zero", "|", "cat", "&"}).size(), 300000U);
}

TEST_F(CommandStream, WritesToTheCommand) {
    ASSERT_EQ(mkfifo(path("fifo").c_str(), 0600), 0);
    FILE* stream = exec_popen("w", "tee", path("fifo").c_str(), nullptr);
    ASSERT_NE(stream, nullptr);
    fputs("through", stream);
    EXPECT_EQ(exec_pclose(stream), 256);
    EXPECT_EQ(contentOf(path("fifo")), "through");
}

TEST_F(CommandStream, AppendsErrorsToTheirFile) {
    write("err", "before\n");
    const char* const script = "echo out; echo err >&2";
    EXPECT_EQ(drain(exec_popen_logged("r", path("err").c_str(), m_log.c_str(), "sh", "-c", script,
                                      nullptr)),
              "out\n");
    EXPECT_EQ(drain(exec_popen_logged_glob("r", path("err").c_str(), nullptr, "ls",
                                           path("er?").c_str(), nullptr)),
              path("err") + "\n");
    EXPECT_EQ(contentOf(path("err")), "before\nerr\n");
    EXPECT_EQ(contentOf(m_log), "");
}

TEST_F(CommandStream, LogsWhyThereIsNone) {
    for (const char* mode : {"rw", "", "a", "rr", "wb", "x"}) {
        SCOPED_TRACE(mode);
        EXPECT_EQ(exec_popen_logged(mode, nullptr, m_log.c_str(), "echo", nullptr), nullptr);
        EXPECT_EQ(contentOf(m_log), logLine("ERROR", "create pipe fail: echo"));
        std::filesystem::remove(m_log);
    }
    // Room for the log, but not for a pair of descriptors.
    const int next = dup(0);
    close(next);
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlimit tight{static_cast<rlim_t>(next) + 2, limit.rlim_max};
    setrlimit(RLIMIT_NOFILE, &tight);
    FILE* oneWay = exec_popen_logged("r", nullptr, m_log.c_str(), "echo", nullptr);
    FILE* twoWay = exec_popen_logged("r+", nullptr, m_log.c_str(), "echo", nullptr);
    setrlimit(RLIMIT_NOFILE, &limit);
    EXPECT_EQ(oneWay, nullptr);
    EXPECT_EQ(twoWay, nullptr);
    EXPECT_EQ(contentOf(m_log), logLine("ERROR", "create pipe fail: echo") +
                                    logLine("ERROR", "create socketpair fail: echo"));
}

TEST_F(CommandStream, ClosesOnlyItsOwnAndLeavesNothingBehind) {
    EXPECT_EQ(exec_pclose(nullptr), -1);
    FILE* foreign = fopen("/dev/null", "w");
    EXPECT_EQ(exec_pclose(foreign), -1);
    EXPECT_EQ(fclose(foreign), 0);

    const size_t before = openDescriptors();
    for (int round = 0; round < 20; ++round) {
        FILE* streams[] = {exec_popen("r", "echo", nullptr), exec_popen("w", "cat", nullptr),
                           exec_popen("r+", "echo", nullptr), exec_popen_read("nosuch", nullptr)};
        for (int index : {1, 0, 3, 2}) {  // the list's middle, end and head
            EXPECT_EQ(exec_pclose(streams[index]), 256);
        }
        EXPECT_EQ(exec_popen("rw", "echo", nullptr), nullptr);
        run({"true", "|", "sh"});
    }
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST_F(CommandStream, AForkedChildHasNoStreamsYet) {
    FILE* stream = exec_popen_read("echo", "x", nullptr);
    const pid_t child = fork();
    if (child == 0) {
        _exit(exec_pclose(stream) == -1 && drain(exec_popen_read("echo", "y", nullptr)) == "y\n"
                  ? 0
                  : 1);
    }
    EXPECT_EQ(statusOf(child), 0);
    EXPECT_EQ(drain(stream), "x\n");
}

TEST_F(CommandStream, ThreadsAndForkedChildrenUseItAtOnce) {
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads(4);
    for (std::thread& thread : threads) {
        thread = std::thread([&wrong, word = std::to_string(&thread - threads.data())] {
            for (int round = 0; round < 40; ++round) {
                FILE* first = exec_popen_read("echo", word.c_str(), nullptr);
                FILE* second = exec_popen_read("echo", word.c_str(), "|", "cat", nullptr);
                wrong += drain(first) != word + "\n";
                wrong += drain(second) != word + "\n";
                wrong += exec_run("false", nullptr) != 1;
            }
        });
    }
    for (int round = 0; round < 40; ++round) {
        const pid_t child = fork();
        if (child == 0) {
            FILE* stream = exec_popen_read("echo", "child", nullptr);
            char line[16] = {};
            const bool isRead = fgets(line, sizeof line, stream) != nullptr;
            _exit(isRead && exec_pclose(stream) == 256 && exec_run("true", nullptr) == 0 ? 0 : 1);
        }
        wrong += statusOf(child) != 0;
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(wrong, 0);
}

TEST_F(CommandStream, ReadCommandOutputTakesTheFirstBytes) {
    write("registry", "");
    const std::string line = "/usr/bin/md5sum " + path("registry") + " | /usr/bin/awk '{print $1}'";
    EXPECT_EQ(support::readCommandOutput(support::splitWords(line), 128),
              "d41d8cd98f00b204e9800998ecf8427e\n");
    // The writer never ends by itself.
    EXPECT_EQ(support::readCommandOutput({"yes"}, 5), "y\ny\ny");
    EXPECT_EQ(support::readCommandOutput({"printf", "a\\0b"}, 128), std::string("a\0b", 3));
    EXPECT_EQ(support::readCommandOutput({}, 128), "");
}

}  // namespace
