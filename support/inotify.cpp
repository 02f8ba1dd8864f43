#include "support/inotify.h"
#include "support/handles.h"

#include <sys/epoll.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cassert>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <system_error>

#include "support/logLine.h"

namespace corex {
namespace {

constexpr const char* kSource = "inotify";
constexpr int kStopPollMilliseconds = 1000;
constexpr std::chrono::microseconds kDestructionPoll{100};
constexpr size_t kEventBytes = 2720;  // ten events with the longest possible name field
static_assert(kEventBytes == 10 * (sizeof(inotify_event) + 256));

struct FlagName {
    uint32_t flag;
    const char* name;
};

constexpr FlagName kFlagNames[] = {
    {IN_ACCESS, "IN_ACCESS"},
    {IN_ATTRIB, "IN_ATTRIB"},
    {IN_CLOSE_NOWRITE, "IN_CLOSE_NOWRITE"},
    {IN_CLOSE_WRITE, "IN_CLOSE_WRITE"},
    {IN_CREATE, "IN_CREATE"},
    {IN_DELETE, "IN_DELETE"},
    {IN_DELETE_SELF, "IN_DELETE_SELF"},
    {IN_IGNORED, "IN_IGNORED"},
    {IN_ISDIR, "IN_ISDIR"},
    {IN_MODIFY, "IN_MODIFY"},
    {IN_MOVE_SELF, "IN_MOVE_SELF"},
    {IN_MOVED_FROM, "IN_MOVED_FROM"},
    {IN_MOVED_TO, "IN_MOVED_TO"},
    {IN_OPEN, "IN_OPEN"},
    {IN_Q_OVERFLOW, "IN_Q_OVERFLOW"},
    {IN_UNMOUNT, "IN_UNMOUNT"},
};

std::string flagNames(uint32_t mask) {
    std::string names;
    for (const FlagName& known : kFlagNames) {
        if ((mask & known.flag) != 0) {
            names.append(known.name).push_back(' ');
        }
    }
    return names;
}

/// Prints one event with a single call, so that lines of other threads do not come between.
void dumpEvent(const inotify_event* event) {
    std::string cookie;
    if (event->cookie != 0) {
        std::array<char, 32> text;
        snprintf(text.data(), text.size(), "cookie =%4d; ", static_cast<int>(event->cookie));
        cookie = text.data();
    }
    std::string name;
    if (event->len != 0) {
        name.append("        name = ").append(event->name).push_back('\n');
    }
    support::printOut("    wd =%2d; %smask = %s\n%s", event->wd, cookie.c_str(),
                      flagNames(event->mask).c_str(), name.c_str());
}

}  // namespace

Inotify::Inotify() = default;

Inotify::~Inotify() {
    m_stopRequest = true;
    wakeReader_();
    // Polled, because a thread that woke this one would touch the object after the last step that
    // it may take in it.
    while (m_running > 0) {
        std::this_thread::sleep_for(kDestructionPoll);
    }
    close_fd_reset(&m_inotifyFd);
    close_fd_reset(&m_epollFd);
}

/// Ends the watches, since the end of a watch is an event, too: it gets the thread out of its
/// blocking read.
void Inotify::wakeReader_() {
    const std::lock_guard lock(m_tableMutex);
    bool isWoken = false;
    for (const auto& watch : m_watches) {
        isWoken = inotify_rm_watch(m_inotifyFd, watch.first) == 0 || isWoken;
    }
    if (!isWoken) {
        // All have ended on their own, with what they watched: one more, for its end alone.
        inotify_rm_watch(m_inotifyFd, inotify_add_watch(m_inotifyFd, "/", IN_DELETE_SELF));
    }
}

int Inotify::Init() {
    m_inotifyFd = inotify_init1(IN_CLOEXEC);
    if (m_inotifyFd == -1) {
        support::printError("[%s][%s][%d][err] initfy_init() %s\n", kSource,
                            "int corex::Inotify::Init()", __LINE__, strerror(errno));
        return -1;
    }
    m_epollFd = epoll_create1(EPOLL_CLOEXEC);
    if (m_epollFd == -1) {
        support::printError("[%s][%s][%d][err] epoll_create1() %s\n", kSource,
                            "int corex::Inotify::Init()", __LINE__, strerror(errno));
        close_fd_reset(&m_inotifyFd);
        return -1;
    }
    return 0;
}

int Inotify::AddWatch(const std::string& path, uint32_t mask) {
    assert(m_inotifyFd != -1);
    // Held over the call: the watcher thread must not see an event of a watch without its path.
    const std::lock_guard lock(m_tableMutex);
    const int watch = inotify_add_watch(m_inotifyFd, path.c_str(), mask);
    if (watch == -1) {
        support::printError("[%s][%s][%d][err] inotify_add_watch(%d, %s) \n", kSource,
                            "int corex::Inotify::AddWatch(const string&, uint32_t)", __LINE__,
                            m_inotifyFd, path.c_str());
        return -1;
    }
    m_watches[watch] = path;
    return 0;
}

int Inotify::RemoveWatch(const std::string& path) {
    assert(m_inotifyFd != -1);
    constexpr const char* kSignature = "int corex::Inotify::RemoveWatch(const string&)";
    const std::lock_guard lock(m_tableMutex);
    const auto found = std::find_if(m_watches.begin(), m_watches.end(),
                                    [&](const auto& watch) { return watch.second == path; });
    if (found == m_watches.end()) {
        support::printError("[%s][%s][%d][err] not exist: %s \n", kSource, kSignature, __LINE__,
                            path.c_str());
        return -1;
    }
    if (inotify_rm_watch(m_inotifyFd, found->first) == -1) {
        support::printError("[%s][%s][%d][err] inotify_rm_watch(%d, %d) :%s \n", kSource,
                            kSignature, __LINE__, m_inotifyFd, found->first, path.c_str());
        return -1;
    }
    m_watches.erase(found);
    return 0;
}

void Inotify::AddObserver(InotifyObserver* observer) {
    const std::lock_guard lock(m_tableMutex);
    m_observers.push_back(observer);
}

void Inotify::Start() {
    ++m_running;
    try {
        m_thread = std::make_unique<std::thread>(&Inotify::Watcher_, this);
    } catch (const std::system_error& failure) {
        --m_running;
        support::printError("[%s][%s][%d][err] thread %s\n", kSource,
                            "void corex::Inotify::Start()", __LINE__, failure.what());
        return;
    }
    m_thread->detach();
}

void Inotify::Watcher_() {
    waitForEvents_();
    --m_running;  // the last step: the object may be gone right behind it
}

void Inotify::waitForEvents_() {
    constexpr const char* kSignature = "void corex::Inotify::Watcher_()";
    epoll_event interest{};
    interest.events = EPOLLIN;
    interest.data.fd = m_inotifyFd;
    if (epoll_ctl(m_epollFd, EPOLL_CTL_ADD, m_inotifyFd, &interest) == -1) {
        support::printError("[%s][%s][%d][err] epoll_ctl() %s\n", kSource, kSignature, __LINE__,
                            strerror(errno));
        return;
    }
    // Kept from one wait to the next. Until the first event a timeout leaves it zeroed, and the
    // stop request is looked at every second; later a timeout finds the inotify descriptor here
    // and goes on to the blocking read, so that an idle watcher does not wake up any more.
    epoll_event ready{};
    while (!m_stopRequest) {
        if (epoll_wait(m_epollFd, &ready, 1, kStopPollMilliseconds) < 0) {
            if (errno == EINTR) {
                continue;
            }
            support::printError("[%s][%s][%d][err] epoll_wait() ... %s \n", kSource, kSignature,
                                __LINE__, strerror(errno));
            return;
        }
        if (ready.data.fd == m_inotifyFd) {
            readEvents_();
        }
    }
}

/// Reads what the kernel has, waiting for it if need be, and delivers each event in its order.
/// The kernel writes whole events only; each next one stands behind the name of the one before.
void Inotify::readEvents_() {
    alignas(inotify_event) std::array<char, kEventBytes> buffer{};
    const ssize_t count = read(m_inotifyFd, buffer.data(), buffer.size());
    if (count == -1) {
        support::printError("[%s][%s][%d][err] read() %s\n", kSource,
                            "void corex::Inotify::Watcher_()", __LINE__, strerror(errno));
        return;
    }
    const auto end = static_cast<size_t>(count);
    // What the destructor does to wake this thread is no news for observers.
    for (size_t place = 0; !m_stopRequest && place + sizeof(inotify_event) <= end;) {
        const auto* event = reinterpret_cast<const inotify_event*>(buffer.data() + place);
        deliver_(event);
        place += sizeof(inotify_event) + event->len;
    }
}

void Inotify::deliver_(const inotify_event* event) {
    dumpEvent(event);
    for (size_t index = 0;; ++index) {
        std::unique_lock lock(m_tableMutex);
        if (index >= m_observers.size()) {
            return;
        }
        InotifyObserver* observer = m_observers[index];
        // Copied, since an observer may remove the watch. An unknown descriptor (a watch that
        // ended, an overflow) is entered with an empty path.
        const std::string path = m_watches[event->wd];
        lock.unlock();
        observer->OnEvent(*this, event, path);
    }
}

}  // namespace corex
