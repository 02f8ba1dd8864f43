// Directory watcher: one inotify(7) instance and a detached thread that hands each event to every
// observer. The package catalogue watches the configuration directory with it.
#pragma once

#include <sys/inotify.h>

#include <cstdint>
#include <string>

namespace corex {

class Inotify;

class InotifyObserver {
  public:
    virtual ~InotifyObserver() = default;
    virtual int OnEvent(Inotify& source, const inotify_event* event,
                        const std::string& watchedPath) = 0;
};

class Inotify {
  public:
    Inotify();
    virtual ~Inotify();
    int Init();
    int AddWatch(const std::string& path, uint32_t mask);
    int RemoveWatch(const std::string& path);
    void AddObserver(InotifyObserver* observer);
    void Start();
};

}  // namespace corex
