// Streams on commands: directions, closing, and many threads at once.
#include <sys/stat.h>

#include <atomic>
#include <thread>

#include "commandTestTools.h"
#include "support/commandOutput.h"
#include "support/process/wordSplit.h"

class CommandStream : public CommandTest {};

TEST_F(CommandStream, ReadsWhatTheCommandPrints) {
    EXPECT_EQ(drain(exec_popen("r", "echo", "a", "b", nullptr)), "a b\n");
    EXPECT_EQ(drain(exec_popen_read("echo", "a", "|", "tr", "a", "b", nullptr)), "b\n");
    EXPECT_EQ(drain(exec_popen_read("/nonexistent/program", nullptr)), "");
    const std::string file = write("file");
    EXPECT_EQ(drain(exec_popen_glob("r", "echo", path("f?le").c_str(), nullptr)), file + "\n");
    // More than a pipe holds before anybody reads, detached and not.
    EXPECT_EQ(outputOf({"head", "-c", "300000", "/dev/zero"}).size(), 300000U);
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

/// Otherwise a closing call waits for ever.
TEST_F(CommandStream, EndsACommandThatIsNotDetached) {
    FILE* first = streamOn("w", {"cat"});
    FILE* second = streamOn("w", {"cat"});
    EXPECT_EQ(exec_pclose(first), 256);
    EXPECT_EQ(exec_pclose(second), 256);
    FILE* endless = streamOn("r", {"yes"});
    EXPECT_EQ(fgetc(endless), 'y');
    EXPECT_EQ(exec_pclose(endless), 256);
}

static auto openDescriptors() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

TEST_F(CommandStream, ClosesOnlyItsOwnAndLeavesNothingBehind) {
    EXPECT_EQ(exec_pclose(nullptr), -1);
    FILE* foreign = fopen("/dev/null", "w");
    EXPECT_EQ(exec_pclose(foreign), -1);
    EXPECT_EQ(fclose(foreign), 0);
    const auto before = openDescriptors();
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
    EXPECT_EQ(waitpid(-1, nullptr, WNOHANG), -1) << "a child is left";
}

TEST_F(CommandStream, ThreadsAndForkedChildrenUseItAtOnce) {
    std::atomic<int> wrong{0};
    const auto work = [&wrong](const std::string& word) {
        FILE* first = exec_popen_read("echo", word.c_str(), nullptr);
        FILE* second = exec_popen_read("echo", word.c_str(), "|", "cat", nullptr);
        wrong += drain(first) != word + "\n";
        wrong += drain(second) != word + "\n";
        wrong += exec_run("false", nullptr) != 1;
    };
    std::vector<std::jthread> threads;
    for (const char* word : {"0", "1", "2", "3"}) {
        threads.emplace_back([&work, word] {
            for (int round = 0; round < 40; ++round) {
                work(word);
            }
        });
    }
    FILE* ours = exec_popen_read("echo", "x", nullptr);
    for (int round = 0; round < 40; ++round) {
        const pid_t child = fork();
        if (child == 0) {
            wrong = exec_pclose(ours) == -1 ? 0 : 1;  // a child has none of its parent's streams
            work("child");
            _exit(wrong);
        }
        wrong += statusOf(child) != 0;
    }
    threads.clear();  // once they have ended
    EXPECT_EQ(drain(ours), "x\n");
    EXPECT_EQ(wrong, 0);
}

TEST_F(CommandStream, ReadCommandOutputTakesTheFirstBytes) {
    const std::string line = "/usr/bin/md5sum " + write("x") + " | /usr/bin/awk '{print $1}'";
    EXPECT_EQ(support::readCommandOutput(support::splitWords(line), 128),
              "d41d8cd98f00b204e9800998ecf8427e\n");
    // The writer never ends by itself.
    EXPECT_EQ(support::readCommandOutput({"yes"}, 5), "y\ny\ny");
    EXPECT_EQ(support::readCommandOutput({"printf", "a\\0b"}, 128), std::string("a\0b", 3));
}
