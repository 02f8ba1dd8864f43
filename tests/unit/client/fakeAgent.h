// An agent for the client's tests: listens on a loopback port of the kernel's choice, plays a
// script to each connection in turn and keeps what it was sent last.
#pragma once

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

enum class ending_t { close, hang };  ///< after the script: close, or wait for the client to

struct script_t {
    std::vector<std::string> announcement;  ///< segments; none: no announcement at all
    std::string payload = "";
    ending_t ending = ending_t::close;
    bool takesGoAhead = true;  ///< false: ends right after the announcement
};

inline std::string announce(size_t size) {
    return "<ZelvDocRoot version=\"1.2\">\n\t<size>\n\t\t" + std::to_string(size) +
           "\n\t</size>\n</ZelvDocRoot>\n";
}

/// The script of an orderly answer.
inline script_t answering(const std::string& payload) {
    return {{announce(payload.size())}, payload};
}

class FakeAgent {
  public:
    explicit FakeAgent(const script_t& script) : FakeAgent(std::vector<script_t>{script}) {}
    explicit FakeAgent(std::vector<script_t> scripts) : m_scripts(std::move(scripts)) {
        m_listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        socklen_t length = sizeof address;
        bind(m_listener, reinterpret_cast<sockaddr*>(&address), length);
        getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &length);
        listen(m_listener, 1);
        m_port = ntohs(address.sin_port);
        m_thread = std::thread([this] {
            for (const script_t& script : m_scripts) {
                serve_(script);
            }
        });
    }
    ~FakeAgent() { finish(); }

    int port() const { return m_port; }
    /// At any time.
    bool isGivenTheGoAhead() const { return m_goAheadGiven; }

    /// Waits for the conversation's end, or gives it up when none was begun; the members below
    /// hold from then on.
    void finish() {
        if (m_thread.joinable()) {
            shutdown(m_listener, SHUT_RDWR);
            m_thread.join();
            close(m_listener);
        }
    }
    std::string request;
    std::string goAhead;

  private:
    static std::string readOnce_(int peer) {
        char buffer[8192];
        const ssize_t count = read(peer, buffer, sizeof buffer);
        return {buffer, count > 0 ? static_cast<size_t>(count) : 0};
    }
    static void send_(int peer, const std::string& bytes) {
        (void)send(peer, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    }
    void serve_(const script_t& script) {
        const int peer = accept(m_listener, nullptr, nullptr);
        if (peer == -1) {
            return;
        }
        const int on = 1;
        setsockopt(peer, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
        request = readOnce_(peer);
        for (const std::string& segment : script.announcement) {
            send_(peer, segment);
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        if (!script.announcement.empty() && script.takesGoAhead) {
            goAhead = readOnce_(peer);
            m_goAheadGiven = !goAhead.empty();
            send_(peer, script.payload);
        }
        while (script.ending == ending_t::hang && !readOnce_(peer).empty()) {
        }
        close(peer);
    }

    std::vector<script_t> m_scripts;
    int m_listener = -1;
    int m_port = 0;
    std::atomic<bool> m_goAheadGiven = false;
    std::thread m_thread;
};
