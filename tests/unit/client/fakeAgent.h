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
enum class end_t { payload, announcement, never };

struct script_t {
    std::vector<std::string> announcement = {};  ///< segments; none: no announcement at all
    std::string payload = "";
    end_t end = end_t::payload;
};

inline std::string announce(size_t size) {
    return "<ZelvDocRoot version=\"1.2\">\n\t<size>\n\t\t" + std::to_string(size) +
           "\n\t</size>\n</ZelvDocRoot>\n";
}

/// The script of an orderly answer, and that of a document with some fields.
inline script_t answering(const std::string& payload) {
    return {{announce(payload.size())}, payload};
}
inline script_t answeringFields(const std::string& fields) {
    return answering("<ZelvDocRoot version=\"1.2\">\n\t<torvik_ver/>" + fields + "</ZelvDocRoot>");
}

class FakeAgent {
  public:
    explicit FakeAgent(const script_t& script) : FakeAgent(std::vector<script_t>{script}) {}
    explicit FakeAgent(std::vector<script_t> scripts) : m_scripts(std::move(scripts)) {
        m_listener->Bind("127.0.0.1", 0);
        m_listener->Listen(1);
        sockaddr_in address = {};
        socklen_t length = sizeof address;
        getsockname(m_listener->GetSocket(), reinterpret_cast<sockaddr*>(&address), &length);
        port = ntohs(address.sin_port);
        m_thread = std::thread([this] {
            for (const script_t& script : m_scripts) {
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
    void serve_(const script_t& script) {
        const std::unique_ptr<corex::Socket> peer(m_listener->Accept());
        if (peer == nullptr) {
            return;
        }
        request = readOnce_(*peer);
        for (const std::string& segment : script.announcement) {
            peer->Write(segment);
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        if (!script.announcement.empty() && script.end != end_t::announcement) {
            isGivenTheGoAhead = !readOnce_(*peer).empty();
            peer->Write(script.payload);
        }
        while (script.end == end_t::never && !readOnce_(*peer).empty()) {
        }
    }

    std::vector<script_t> m_scripts;
    std::unique_ptr<corex::Socket> m_listener{corex::TcpSocket::CreateSocket(AF_INET, false)};
    std::thread m_thread;
};
