// A connection from the request's bytes to its end, through the agent's own conversation, dispatch
// and handlers, with a made-up server around them (fakeSystem.h).
//
// The first line of an input says what the agent meets, by the words of `Setting`; then come the
// request, the hand-over file (on the local channel only) and what the tools print, with lines
// "----" between them.
#include <algorithm>
#include <cassert>
#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <utility>

#include "agent/kalloagent.h"
#include "fuzz/fakeSystem.h"
#include "fuzz/target.h"
#include "socketcpp/Socket.h"
#include "support/utf8.h"
#include "support/xmlParser.h"

/// The door into the agent that its listeners use.
class AgentProbe {
  public:
    static void serveApp(CKalloAgent& agent, std::unique_ptr<corex::Socket> connection) {
        agent.tcpProcess_(std::move(connection));
    }
    static void serveLocal(CKalloAgent& agent, std::unique_ptr<corex::Socket> connection) {
        agent.unixIpcProcess_(std::move(connection));
    }
};

namespace {

// A log-in leaves it behind when its encoder fails.
constexpr const char* kScratchFile = "/tmp/.en.pn.lo";

struct Setting {
    explicit Setting(std::string_view line)
        : isLocal(has(line, "local")),
          isDesktopUp(has(line, "desktop")),
          admitsEveryone(has(line, "admit")),
          staysAway(has(line, "away")),
          isGone(has(line, "gone")) {}

    static bool has(std::string_view line, std::string_view word) {
        return line.find(word) != std::string_view::npos;
    }

    bool isLocal;         // on the local channel, else an app's connection
    bool isDesktopUp;     // a desktop session runs
    bool admitsEveryone;  // any user with any password
    bool staysAway;       // the client closes in place of its go-ahead
    bool isGone;          // nothing can be written to the client
};

/// What came back over one connection.
struct Received {
    std::string announcement;
    std::string payload;
    int writes = 0;
};

size_t announcedSize(const std::string& announcement) {
    XMLResults results{};
    const XMLNode document = XMLNode::parseString(announcement.c_str(), "ZelvDocRoot", &results);
    assert(results.error == XMLError::none && document.childCount() == 1);
    assert(strcmp(document.attribute(0)->value, "1.2") == 0);
    return std::stoul(document.childNode("size").text());
}

/// A client that sends its request and, when a size above 0 was announced, its go-ahead. Going
/// ahead after a size of 0 is known to stop the agent.
class FakeClient final : public corex::Socket {
  public:
    FakeClient(std::string request, const Setting& setting, Received& received)
        : m_request(std::move(request)), m_setting(setting), m_received(received) {}

    int GetSocket() override { return -1; }
    void Close() override {}

    ssize_t Read(void* buf, size_t len) override {
        if (m_received.writes == 0) {
            return send_(m_request, buf, len);
        }
        const bool goesAhead = !m_setting.staysAway && announcedSize(m_received.announcement) > 0;
        return send_(goesAhead ? "go" : "", buf, len);
    }

    ssize_t Write(const void* buf, size_t len) override {
        assert(buf != nullptr && m_received.writes < 2);
        if (m_setting.isGone) {
            return -1;
        }
        std::string& part = m_received.writes++ == 0 ? m_received.announcement : m_received.payload;
        part.assign(static_cast<const char*>(buf), len);
        return static_cast<ssize_t>(len);
    }

  private:
    static ssize_t send_(const std::string& bytes, void* buf, size_t len) {
        assert(buf != nullptr && len == 4096);
        const size_t count = std::min(bytes.size(), len);
        memcpy(buf, bytes.data(), count);
        return static_cast<ssize_t>(count);
    }

    const std::string m_request;
    const Setting& m_setting;
    Received& m_received;
};

/// A plain login with a right password whose base64 text is longer than a block is known to stop
/// the agent: nobody is admitted with it.
bool canBeAdmitted(const std::string& request) {
    const XMLNode document = XMLNode::parseString(request.substr(0, 4096).c_str(), "ZelvDocRoot");
    const char* const password = document.childNode("param", 1).text();
    return password == nullptr || strlen(password) <= 64;
}

/// Whether a strict parser takes the characters of a document.
bool isXmlText(const std::string& text) {
    return support::isUtf8(text) && text.find("\xEF\xBF\xBE") == text.npos &&
           text.find("\xEF\xBF\xBF") == text.npos && std::ranges::none_of(text, [](char character) {
               const auto byte = static_cast<unsigned char>(character);
               return byte < 0x20 && byte != '\t' && byte != '\n' && byte != '\r';
           });
}

/// An answer is what was announced: an icon, or a document with its result.
void checkAnswer(const Received& received) {
    if (received.writes == 0) {
        return;
    }
    const size_t size = announcedSize(received.announcement);
    assert(received.writes == 2 ? size > 0 : received.payload.empty());
    if (received.writes < 2 || received.payload == fakeSystem::kIcon) {
        return;
    }
    assert(received.payload.size() == size);
    XMLResults results{};
    const XMLNode document =
        XMLNode::parseString(received.payload.c_str(), "ZelvDocRoot", &results);
    assert(results.error == XMLError::none && isXmlText(received.payload));
    assert(document.childNode("errRtn").text() != nullptr);
    assert(strcmp(document.attribute(0)->value, "1.2") == 0);
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    constexpr std::string_view kSeparator = "\n----\n";
    static CKalloAgent agent;
    std::string_view rest = fuzz::textOf(data, size);
    const Setting setting(fuzz::takeLine(rest));
    const std::string request(fuzz::takePart(rest, kSeparator));
    fakeSystem::State& system = fakeSystem::state();
    system = {};
    system.isDesktopUp = setting.isDesktopUp;
    system.admitsEveryone = setting.admitsEveryone && canBeAdmitted(request);
    if (setting.isLocal) {
        system.handOver = fuzz::takePart(rest, kSeparator);
    }
    while (!rest.empty()) {
        system.outputs.emplace_back(fuzz::takePart(rest, kSeparator));
    }
    Received received;
    auto client = std::make_unique<FakeClient>(request, setting, received);
    if (setting.isLocal) {
        AgentProbe::serveLocal(agent, std::move(client));
        assert(system.started == 0);
    } else {
        AgentProbe::serveApp(agent, std::move(client));
    }
    checkAnswer(received);
    remove(kScratchFile);
    return 0;
}
