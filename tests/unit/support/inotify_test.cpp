// The watcher on real directories: what observers are told, what is printed, how it ends.
#include "support/inotify.h"

#include <gtest/gtest.h>

#include <atomic>
#include <condition_variable>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;

struct Seen {
    const void* observer;
    uint32_t mask;
    std::string name;
    std::string path;
};

/// What all observers of a test saw, in the order in which they were called.
class Log {
  public:
    void add(const Seen& seen) {
        const std::lock_guard lock(m_mutex);
        m_seen.push_back(seen);
        m_grown.notify_all();
    }
    std::vector<Seen> waitFor(size_t count) {
        std::unique_lock lock(m_mutex);
        m_grown.wait(lock, [&] { return m_seen.size() >= count; });
        return m_seen;
    }

  private:
    std::mutex m_mutex;
    std::condition_variable m_grown;
    std::vector<Seen> m_seen;
};

class Recorder : public corex::InotifyObserver {
  public:
    explicit Recorder(Log& log) : m_log(log) {}
    int OnEvent(corex::Inotify&, const inotify_event* event, const std::string& path) override {
        m_log.add({this, event->mask, event->len > 0 ? event->name : "", path});
        return 0;
    }

  private:
    Log& m_log;
};

class InotifyTest : public ::testing::Test {
  protected:
    void SetUp() override {
        ASSERT_NE(mkdtemp(m_directory.data()), nullptr);
        ASSERT_EQ(m_watcher->Init(), 0);
        m_watcher->AddObserver(&m_first);
    }
    /// The watcher may sit in a read, so events go on until it is gone.
    void TearDown() override {
        m_watcher->AddWatch(m_directory, IN_CREATE);
        std::atomic<bool> gone = false;
        std::thread visitor([&] {
            while (!gone) {
                fs::create_directory(m_directory + "/visit");
                fs::remove(m_directory + "/visit");
            }
        });
        m_watcher.reset();
        gone = true;
        visitor.join();
        fs::remove_all(m_directory);
    }
    void create(const std::string& name) const { std::ofstream(m_directory + "/" + name); }

    std::string m_directory = fs::temp_directory_path() / "inotify.XXXXXX";
    Log m_log;
    Recorder m_first{m_log};
    Recorder m_second{m_log};
    std::unique_ptr<corex::Inotify> m_watcher = std::make_unique<corex::Inotify>();
};

TEST_F(InotifyTest, DeliversFullBuffersInOrderToEveryObserver) {
    m_watcher->AddWatch(m_directory, IN_CREATE);
    m_watcher->AddObserver(&m_second);
    std::vector<std::string> names;
    for (int index = 0; index < 40; ++index) {
        names.push_back(std::to_string(index) + std::string(index % 2 == 0 ? 250 : 3, 'n'));
        create(names.back());
    }
    m_watcher->Start();
    const std::vector<Seen> seen = m_log.waitFor(2 * names.size());
    for (size_t index = 0; index < seen.size(); ++index) {
        EXPECT_EQ(seen[index].name, names[index / 2]);
        EXPECT_EQ(seen[index].observer, index % 2 == 0 ? &m_first : &m_second);
        EXPECT_EQ(seen[index].path, m_directory);
    }
}

TEST_F(InotifyTest, AWatchThatEndedHasNoPath) {
    m_watcher->AddWatch(m_directory, IN_CREATE);
    m_watcher->Start();
    ASSERT_EQ(m_watcher->RemoveWatch(m_directory), 0);
    const std::vector<Seen> seen = m_log.waitFor(1);
    EXPECT_EQ(seen[0].mask, static_cast<uint32_t>(IN_IGNORED));
    EXPECT_EQ(seen[0].path, "");
    // The entry that the event made stays, and the kernel does not know its descriptor.
    testing::internal::CaptureStderr();
    EXPECT_EQ(m_watcher->RemoveWatch(""), -1);
    EXPECT_NE(testing::internal::GetCapturedStderr().find("[err] inotify_rm_watch("),
              std::string::npos);
}

TEST_F(InotifyTest, PrintsEachEvent) {
    create("old");
    fs::create_directory(m_directory + "/sub");
    testing::internal::CaptureStdout();
    m_watcher->AddWatch(m_directory, IN_MOVE | IN_DELETE);
    m_watcher->AddWatch(m_directory + "/sub", IN_DELETE_SELF);
    m_watcher->Start();
    fs::rename(m_directory + "/old", m_directory + "/new");
    fs::remove(m_directory + "/sub");
    m_log.waitFor(5);
    std::string printed = testing::internal::GetCapturedStdout();
    for (size_t start; (start = printed.find("cookie =")) != std::string::npos;) {
        printed.replace(start, printed.find(';', start) + 1 - start, "COOKIE");
    }
    EXPECT_EQ(printed,
              "    wd = 1; COOKIE mask = IN_MOVED_FROM \n        name = old\n"
              "    wd = 1; COOKIE mask = IN_MOVED_TO \n        name = new\n"
              "    wd = 2; mask = IN_DELETE_SELF \n"
              "    wd = 2; mask = IN_IGNORED \n"
              "    wd = 1; mask = IN_DELETE IN_ISDIR \n        name = sub\n");
}

TEST_F(InotifyTest, KeepsOneEntryForADirectory) {
    const std::string again = m_directory + "/.";
    EXPECT_EQ(m_watcher->AddWatch(m_directory, IN_CREATE), 0);
    EXPECT_EQ(m_watcher->AddWatch(again, IN_DELETE), 0);
    EXPECT_EQ(m_watcher->RemoveWatch(m_directory), -1) << "the later spelling took its place";
    EXPECT_EQ(m_watcher->RemoveWatch(again), 0);
    testing::internal::CaptureStderr();
    EXPECT_EQ(m_watcher->RemoveWatch(again), -1);
    EXPECT_EQ(m_watcher->AddWatch(m_directory + "/none", IN_CREATE), -1);
    const std::string printed = testing::internal::GetCapturedStderr();
    for (const std::string& text :
         {std::string("[inotify][int corex::Inotify::RemoveWatch(const string&)]["),
          "][err] not exist: " + again + " \n[inotify][int corex::Inotify::AddWatch(",
          ", " + m_directory + "/none) \n"}) {
        EXPECT_NE(printed.find(text), std::string::npos) << text << " in " << printed;
    }
}

TEST(InotifyLifeTest, EndsRightBehindItsStart) {
    for (int round = 0; round < 3; ++round) {
        corex::Inotify watcher;
        ASSERT_EQ(watcher.Init(), 0);
        watcher.Start();
    }
}

TEST(InotifyLifeTest, EndsBehindAThreadThatGaveUp) {
    testing::internal::CaptureStderr();
    std::make_unique<corex::Inotify>()->Start();
    EXPECT_NE(testing::internal::GetCapturedStderr().find("[err] epoll_ctl() Bad file descriptor"),
              std::string::npos);
}

TEST(InotifyDeathTest, WatchesNeedAnInit) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    corex::Inotify watcher;
    EXPECT_DEATH(watcher.AddWatch("/", IN_CREATE), "Assertion `m_inotifyFd != -1'");
    EXPECT_DEATH(watcher.RemoveWatch("/"), "Assertion `m_inotifyFd != -1'");
}

}  // namespace
