// The service pipe: other programs of the server write package names and actions into it, and the
// daemon runs the packages' start and stop scripts. The program's start-up owns the one object.
#pragma once

#include <atomic>
#include <deque>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

/// What one pair of words on the pipe asks for.
struct ServiceRequest {
    std::string vexaName;  ///< package name
    std::string action;    ///< "start" or "stop"; any other does nothing

    bool operator==(const ServiceRequest&) const = default;
};

/// Returns the requests in a text read from the pipe, in order: the words between blanks and line
/// feeds, taken two at a time. The text ends at its first NUL byte; a last word without a partner
/// is dropped. Never fails; any thread.
std::deque<ServiceRequest> parseServiceRequests(std::string_view text);

/// Returns the command line that prints the installation directory of the package `vexaName`.
/// Virtual machines have no section of their own: "ZelvKVM.NAME" is the key NAME of the section
/// "ZelvKVM". Any thread.
std::vector<std::string> installPathCommand(const std::string& vexaName);

/// The named pipe and the thread that reads it. Each request is served in a detached process of
/// its own, so that a slow script never holds up the reader.
class VexaBind {
  public:
    /// Takes the path of the pipe; touches nothing yet.
    explicit VexaBind(const std::string& path);
    VexaBind(const VexaBind&) = delete;
    VexaBind& operator=(const VexaBind&) = delete;

    /// Closes the pipe; its file stays. A thread that was started must have been stopped, else the
    /// process terminates.
    ~VexaBind();

    /// Makes the pipe (mode 0600), instead of whatever file is at its path, and opens it. Returns
    /// 0, or -1 after a message on standard error. To be called once.
    int init();

    /// Runs threadBody() in the object's own thread. Call once, after init(). Returns 0, or -1 when
    /// the system has no thread left.
    int start();

    /// Reads requests and serves them until a stop is requested. Requires init().
    void threadBody();

    /// Stops the started thread once it has served what it reads, and waits for it; does nothing
    /// without one. Any thread but the reader itself.
    void stop();

  private:
    void serve_(const ServiceRequest& request) const;

    std::atomic<int> m_stopRequest = 0;
    int m_fifoFd = -1;
    std::string m_path;
    std::deque<ServiceRequest> m_requests;
    std::thread m_thread;
};
