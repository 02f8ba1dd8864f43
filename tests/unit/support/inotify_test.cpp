// The watcher on real directories: what observers are told and how it ends.
#include "support/inotify.h"

#include <gtest/gtest.h>

#include <condition_variable>
#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;

/// What the observers of a test saw, in order, as "observer: name in path".
struct Log {
    std::vector<std::string> waitFor(size_t count) {
        std::unique_lock lock(mutex);
        grown.wait(lock, [&] { return seen.size() >= count; });
        return seen;
    }

    std::mutex mutex;
    std::condition_variable grown;
    std::vector<std::string> seen;
};

class Recorder : public corex::InotifyObserver {
  public:
    Recorder(const std::string& name, Log& log) : m_name(name), m_log(log) {}
    int OnEvent(corex::Inotify&, const inotify_event* event, const std::string& path) override {
        const std::lock_guard lock(m_log.mutex);
        m_log.seen.push_back(m_name + ": " + event->name + " in " + path);
        m_log.grown.notify_all();
        return 0;
    }

  private:
    std::string m_name;
    Log& m_log;
};

class Inotify : public testing::Test {
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

    std::string m_directory = fs::temp_directory_path() / "inotify.XXXXXX";
    Log m_log;
    Recorder m_first{"first", m_log};
    Recorder m_second{"second", m_log};
    std::unique_ptr<corex::Inotify> m_watcher = std::make_unique<corex::Inotify>();
};

TEST_F(Inotify, DeliversFullBuffersInOrderToEveryObserver) {
    m_watcher->AddWatch(m_directory, IN_CREATE);
    m_watcher->AddObserver(&m_second);
    std::vector<std::string> expected;
    for (int index = 0; index < 40; ++index) {
        const std::string name = std::to_string(index) + std::string(index % 2 == 0 ? 250 : 3, 'n');
        std::ofstream(m_directory + "/" + name).close();
        expected.push_back("first: " + name + " in " + m_directory);
        expected.push_back("second: " + name + " in " + m_directory);
    }
    m_watcher->Start();
    EXPECT_EQ(m_log.waitFor(expected.size()), expected);
}

TEST(InotifyLife, EndsRightBehindItsStartAndBehindAThreadThatGaveUp) {
    for (int round = 0; round < 3; ++round) {
        corex::Inotify watcher;
        ASSERT_EQ(watcher.Init(), 0);
        watcher.Start();
    }
    testing::internal::CaptureStderr();
    std::make_unique<corex::Inotify>()->Start();
    EXPECT_NE(testing::internal::GetCapturedStderr().find("[err] epoll_ctl() Bad file descriptor"),
              std::string::npos);
}

}  // namespace
