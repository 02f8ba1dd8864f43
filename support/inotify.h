// Directory watcher: one inotify(7) instance and a detached thread that hands each event to every
// observer. The package catalogue watches the configuration directory with it.
#pragma once

#include <sys/inotify.h>

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace corex {

class Inotify;

/// Whoever wants to hear of events; registered with Inotify::AddObserver.
class InotifyObserver {
  public:
    virtual ~InotifyObserver() = default;

    /// Called on the watcher thread, once for each event; the next event waits for the return.
    /// `event` is the kernel's record and, like `watchedPath` (the path given to AddWatch, empty
    /// for a descriptor that is not watched any more and for a queue overflow), valid during the
    /// call. May call AddWatch and RemoveWatch of `source`. The result is ignored.
    virtual int OnEvent(Inotify& source, const inotify_event* event,
                        const std::string& watchedPath) = 0;
};

/// The watcher. The owner calls Init, AddWatch for each path, AddObserver, then Start, and tells
/// of failures by the results; each failure also writes its line to standard error. The watcher
/// thread prints every event on standard output before it hands it on.
class Inotify {
  public:
    Inotify();
    Inotify(const Inotify&) = delete;
    Inotify& operator=(const Inotify&) = delete;

    /// Ends all watches, of which no observer is told, stops the watcher thread and waits until it
    /// has left this object, a second at most beyond what an observer takes. Never to be called by
    /// an observer.
    virtual ~Inotify();

    /// Makes the inotify and epoll descriptors, both close-on-exec. Returns 0, or -1. Once only.
    int Init();

    /// Watches `path` for the events in `mask` (inotify(7)). A path that is watched already keeps
    /// its descriptor and gets the new mask. Returns 0, or -1. Asserts a successful Init. Any
    /// thread.
    int AddWatch(const std::string& path, uint32_t mask);

    /// Ends the watch of `path`, spelt as it was given to AddWatch. Returns 0, or -1 when it is
    /// not watched. Asserts a successful Init. Any thread.
    int RemoveWatch(const std::string& path);

    /// Appends an observer, which stays the caller's and must outlive this object. The same
    /// observer added twice is called twice. Any thread.
    void AddObserver(InotifyObserver* observer);

    /// Starts the watcher thread, detached. Once only: a second thread gives up at once.
    void Start();

  private:
    void Watcher_();
    void waitForEvents_();
    void readEvents_();
    void deliver_(const inotify_event* event);
    void wakeReader_();

    int m_inotifyFd = -1;
    int m_epollFd = -1;
    std::atomic<bool> m_stopRequest{false};
    /// Watcher threads that may still touch this object. Counted from Start on, not from the
    /// thread's first step, so that a destructor right behind Start waits for it as well.
    std::atomic<int> m_running{0};
    std::mutex m_tableMutex;  ///< guards the observers and the watches; never held over OnEvent
    std::vector<InotifyObserver*> m_observers;
    std::map<int, std::string> m_watches;  ///< watched path by watch descriptor
    std::unique_ptr<std::thread> m_thread;
};

}  // namespace corex
