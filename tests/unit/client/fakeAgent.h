// An agent for the client's tests: listens on a loopback port of the kernel's choice, plays a
// script to each connection in turn and keeps what it was sent last.
#pragma once

#include <netinet/in.h>

#include <atomic>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "socketcpp/TcpSocket.h"

/// Behind what an agent closes the connection; `never`: behind the client.
enum class End { payload, announcement, never };

struct Script {
    std::vector<std::string> announcement{};  ///< segments; none: no announcement at all
    std::string payload = "";
    End end = End::payload;
};

inline std::string announce(size_t size) {
    return "<ZelvDocRoot version=\"1.2\">\n\t<size>\n\t\t" + std::to_string(size) +
           "\n\t</size>\n</ZelvDocRoot>\n";
}

/// The script of an orderly answer, and that of a document with some fields.
inline Script answering(const std::string& payload) {
    return {{announce(payload.size())}, payload};
}
inline Script answeringFields(const std::string& fields) {
    return answering("<ZelvDocRoot version=\"1.2\">\n\t<torvik_ver/>" + fields + "</ZelvDocRoot>");
}

class FakeAgent {
  public:
    explicit FakeAgent(const Script& script) : FakeAgent(std::vector<Script>{script}) {}
    explicit FakeAgent(std::vector<Script> scripts) : m_scripts(std::move(scripts)) {
        m_listener->Bind("127.0.0.1", 0);
        m_listener->Listen(1);
        sockaddr_in address{};
        socklen_t length = sizeof address;
        getsockname(m_listener->GetSocket(), reinterpret_cast<sockaddr*>(&address), &length);
        port = ntohs(address.sin_port);
        m_thread = std::thread([this] {
            for (const Script& script : m_scripts) {
                serve_(script);
            }
        });
    }
    ~FakeAgent() { finish(); }

    /// Waits for the conversation's end, or gives it up when none was begun.
    void finish() {
        if (m_thread.joinable()) {
            shutdown(m_listener->GetSocket(), SHUT_RDWR);
            m_thread.join();
            m_listener->Close();
        }
    }

    int port = 0;
    std::atomic<bool> isGivenTheGoAhead = false;
    std::string request;  ///< holds once finished

  private:
    static std::string readOnce_(corex::Socket& peer) {
        char buffer[8192];
        const ssize_t count = peer.Read(buffer, sizeof buffer);
        return {buffer, count > 0 ? static_cast<size_t>(count) : 0};
    }
    void serve_(const Script& script) {
        const std::unique_ptr<corex::Socket> peer(m_listener->Accept());
        if (peer == nullptr) {
            return;
        }
        request = readOnce_(*peer);
        for (const std::string& segment : script.announcement) {
            peer->Write(segment);
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        if (!script.announcement.empty() && script.end != End::announcement) {
            isGivenTheGoAhead = !readOnce_(*peer).empty();
            peer->Write(script.payload);
        }
        while (script.end == End::never && !readOnce_(*peer).empty()) {
        }
    }

    std::vector<Script> m_scripts;
    std::unique_ptr<corex::Socket> m_listener{corex::TcpSocket::CreateSocket(AF_INET, false)};
    std::thread m_thread;
};
