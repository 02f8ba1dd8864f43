// The watcher on real directories: what observers are told and how it ends.
#include "support/inotify.h"

#include <semaphore>

#include "folderTest.h"

/// What the observers of a test saw, in order, as "observer: name in path".
struct Log {
    std::vector<std::string> seen;
    std::counting_semaphore<> grown{0};
};

struct Recorder : corex::InotifyObserver {
    Recorder(const std::string& name, Log& log) : m_name(name), m_log(log) {}
    int OnEvent(corex::Inotify&, const inotify_event* event, const std::string& path) override {
        m_log.seen.push_back(m_name + ": " + event->name + " in " + path);
        m_log.grown.release();
        return 0;
    }

    std::string m_name;
    Log& m_log;
};

struct Inotify : FolderTest {
    void SetUp() override {
        FolderTest::SetUp();
        ASSERT_EQ(m_watcher->Init(), 0);
        m_watcher->AddObserver(&m_first);
    }
    /// The watcher may sit in a read; it wakes itself, and tells nobody of that.
    void TearDown() override {
        const std::vector<std::string> seen = m_log.seen;
        m_watcher.reset();
        EXPECT_EQ(m_log.seen, seen);
        FolderTest::TearDown();
    }

    Log m_log;
    Recorder m_first{"first", m_log};
    Recorder m_second{"second", m_log};
    std::unique_ptr<corex::Inotify> m_watcher = std::make_unique<corex::Inotify>();
};

TEST_F(Inotify, DeliversFullBuffersInOrderToEveryObserver) {
    m_watcher->AddWatch(m_folder, IN_CREATE);
    m_watcher->AddObserver(&m_second);
    std::vector<std::string> expected;
    for (int index = 0; index < 40; ++index) {
        const std::string name = std::to_string(index) + std::string(index % 2 == 0 ? 250 : 3, 'n');
        write(name);
        expected.push_back("first: " + name + " in " + m_folder);
        expected.push_back("second: " + name + " in " + m_folder);
    }
    m_watcher->Start();
    for (size_t count = 0; count < expected.size(); ++count) {
        m_log.grown.acquire();
    }
    EXPECT_EQ(m_log.seen, expected);
}

TEST_F(Inotify, KeepsOneEntryForADirectory) {
    EXPECT_EQ(m_watcher->AddWatch(m_folder, IN_CREATE), 0);
    EXPECT_EQ(m_watcher->AddWatch(path("."), IN_DELETE), 0);
    EXPECT_EQ(m_watcher->RemoveWatch(m_folder), -1) << "the later spelling took its place";
    EXPECT_EQ(m_watcher->RemoveWatch(path(".")), 0);
    EXPECT_EQ(m_watcher->AddWatch(path("none"), IN_CREATE), -1);
    m_watcher->Start();
    m_log.grown.acquire();  // the end of the watch is an event, too
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
