#include "gate/web/watcher.h"

#include <algorithm>
#include <boost/asio/as_tuple.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <boost/beast/core/string.hpp>
#include <nlohmann/json.hpp>

#include "companion/answer.h"
#include "companion/request.h"
#include "support/protocol.h"

namespace gate {
namespace {

namespace asio = boost::asio;
using Json = nlohmann::ordered_json;
using std::chrono::milliseconds;
using std::chrono::steady_clock;

constexpr auto kResult = asio::as_tuple(asio::use_awaitable);
constexpr milliseconds kLook{1000};
/// The session takes two more questions, and changes seldom: it is asked for at every second look.
constexpr unsigned kLooksASession = 2;
/// A page takes a stream for lost that is silent for some seconds.
constexpr milliseconds kBeat{1000};
constexpr milliseconds kTick{250};
/// An agent that is stopped takes a connection and says nothing. At a command that stops packages
/// it is silent and well.
constexpr milliseconds kSilence{1500};
/// How long a program may take from its launch to its window.
constexpr std::chrono::seconds kOpening{30};

/// The gate's own questions wait in the line as those of this address, which no client has.
const Address kOwn;

std::shared_ptr<const std::string> eventText(const char* name, const Json& data) {
    std::string text = std::string("event: ") + name + "\ndata: ";
    text += data.dump(-1, ' ', false, Json::error_handler_t::replace) + "\n\n";
    return std::make_shared<const std::string>(std::move(text));
}

}  // namespace

void Subscription::add(const std::shared_ptr<const std::string>& event) {
    if (m_events.size() >= kMost) {
        m_isEnded = true;
    } else {
        m_events.push_back(event);
    }
    m_wake.cancel();
}

asio::awaitable<std::string> Subscription::next() {
    while (m_events.empty() && !m_isEnded) {
        co_await m_wake.async_wait(kResult);
    }
    std::string events;
    for (const auto& event : m_events) {
        events += *event;
    }
    m_events.clear();
    co_return m_isEnded ? std::string() : events;
}

void Subscription::end() {
    m_isEnded = true;
    m_wake.cancel();
}

Watcher::Watcher(asio::io_context& context, Door& door)
    : m_context(context), m_door(door), m_pause(context) {}

std::shared_ptr<Subscription> Watcher::subscribe() {
    auto subscription = std::make_shared<Subscription>(m_context.get_executor());
    m_watching.push_back(subscription);
    if (m_isKnown) {
        subscription->add(eventText("state", stateAsJson()));
    }
    run_(m_isLooking, &Watcher::look_);
    run_(m_isBeating, &Watcher::beat_);
    return subscription;
}

void Watcher::run_(bool& isRunning, asio::awaitable<void> (Watcher::*loop)()) {
    if (isRunning) {
        return;
    }
    isRunning = true;
    // Somebody may have come just after its last look, or memory was lacking for a moment.
    asio::co_spawn(m_context, (this->*loop)(), [=, this, &isRunning](const std::exception_ptr&) {
        isRunning = false;
        if (isWatched_()) {
            run_(isRunning, loop);
        }
    });
}

void Watcher::end() {
    for (const auto& watching : m_watching) {
        if (const auto subscription = watching.lock()) {
            subscription->end();
        }
    }
}

bool Watcher::isWatched_() {
    std::erase_if(m_watching, [](const auto& watching) { return watching.expired(); });
    return !m_watching.empty();
}

asio::awaitable<void> Watcher::look_() {
    for (unsigned number = 0; isWatched_(); ++number) {
        const Time start = steady_clock::now();
        m_asked = start;
        bool isAnswered = co_await readWindows();
        if (isAnswered && (number % kLooksASession == 0 || !m_isKnown || !m_isUp)) {
            m_asked = steady_clock::now();
            isAnswered = co_await readSession();
        }
        m_asked = {};
        setUp_(isAnswered);
        m_pause.expires_at(start + kLook);
        co_await m_pause.async_wait(kResult);
    }
    m_isKnown = false;
}

asio::awaitable<void> Watcher::beat_() {
    asio::steady_timer tick(m_context);
    Time last = steady_clock::now();
    while (isWatched_()) {
        tick.expires_after(kTick);
        co_await tick.async_wait(kResult);
        const Time now = steady_clock::now();
        if (m_asked != Time{} && (isAgentSilent_() || !m_door.queue.isAgentUp())) {
            setUp_(false);
        }
        if (now - last >= kBeat) {
            last = now;
            publish_("beat", Json::object());
        }
    }
}

bool Watcher::isAgentSilent_() const {
    // A question may also wait behind others, which an agent that is well is busy with.
    const Time since = std::max(m_asked, m_door.queue.agentHeard());
    return steady_clock::now() - since > kSilence && !m_door.queue.isAtSlowCommand();
}

void Watcher::setUp_(bool isUp) {
    const bool isChanged = isUp != m_isUp || !m_isKnown;
    const bool isFirst = !m_isKnown;
    m_isUp = isUp;
    m_isKnown = true;
    if (!isUp) {
        m_session = {};
    }
    if (isChanged && (isUp || isFirst)) {
        publish_("state", stateAsJson());
    } else if (isChanged) {
        publish_("agent", {{"agent", "down"}});
    }
}

asio::awaitable<std::string> Watcher::ask_(const char* command) {
    const std::string text = companion::requestText(command);
    const CheckedRequest checked = checkRequest(text);
    const Answer answer = co_await m_door.queue.ask(kOwn, text, checked.command);
    co_return answer.reply.text();
}

asio::awaitable<bool> Watcher::readWindows() {
    const std::string answer = co_await ask_(protocol::kGetStatus);
    const XMLNode document = companion::parseDocument(answer);
    if (companion::resultOf(document).empty()) {
        co_return false;
    }
    const std::vector<Window> before = m_windows;
    takeWindows_(answer);
    const bool isLive = m_isKnown && m_isUp;
    if (isLive && m_windows != before) {
        publish_("windows", {{"windows", windowsAsJson()}});
    }
    if (companion::childText(document, protocol::kRefreshedElement) == "true") {
        publish_("list", Json::object());
    }
    co_return true;
}

void Watcher::takeWindows_(const std::string& document) {
    std::vector<Window> found;
    const XMLNode root = companion::parseDocument(document);
    for (const XMLNode& item : companion::itemsOf(root)) {
        Window window{companion::childText(item, protocol::kWindowIdElement),
                      companion::childText(item, protocol::kWindowTitleElement), ""};
        // While nobody watched, another program may have got the number of one that has ended.
        const auto known = std::ranges::find_if(m_windows, [&](const Window& old) {
            return old.id == window.id && (m_isKnown || old.title == window.title);
        });
        window.package = known == m_windows.end() ? openedBy_(window.title) : known->package;
        found.push_back(std::move(window));
    }
    m_windows = std::move(found);
}

/// The package that was launched and has no window yet: one whose name begins as the title does,
/// else the one that waits longest.
std::string Watcher::openedBy_(const std::string& title) {
    const Time now = steady_clock::now();
    std::erase_if(m_launches, [&](const Launch& launch) { return now - launch.time > kOpening; });
    if (m_launches.empty()) {
        return "";
    }
    const auto isNamedSo = [&](const Launch& launch) {
        return !title.empty() &&
               boost::beast::iequals(launch.package.substr(0, title.size()), title);
    };
    auto launch = std::ranges::find_if(m_launches, isNamedSo);
    if (launch == m_launches.end()) {
        launch = m_launches.begin();
    }
    std::string package = launch->package;
    m_launches.erase(launch);
    return package;
}

asio::awaitable<bool> Watcher::readSession() {
    const std::string setting = co_await ask_(protocol::kGetKalloSetting);
    const std::string user = co_await ask_(protocol::kGetCurrentUser);
    const XMLNode settingRead = companion::parseDocument(setting);
    const XMLNode userRead = companion::parseDocument(user);
    const std::string result = companion::resultOf(settingRead);
    if (result.empty() || companion::resultOf(userRead).empty()) {
        co_return false;
    }
    const Session before = m_session;
    m_session = {result != protocol::kResultTexts[protocol::loginRequired],
                 companion::childText(userRead, protocol::kUserElement)};
    if (m_isKnown && m_isUp && m_session != before) {
        publish_("session", sessionAsJson());
    }
    co_return true;
}

void Watcher::noteLaunch(const std::string& package) {
    constexpr size_t kMostLaunches = 32;
    if (m_launches.size() == kMostLaunches) {
        m_launches.pop_front();
    }
    m_launches.push_back({package, steady_clock::now()});
}

void Watcher::hurry() {
    m_pause.cancel();
}

Json Watcher::windowsAsJson() const {
    Json windows = Json::array();
    for (const Window& window : m_windows) {
        windows.push_back({{"id", window.id},
                           {"title", window.title},
                           {"package", window.package.empty() ? Json() : Json(window.package)}});
    }
    return windows;
}

Json Watcher::sessionAsJson() const {
    return {{"desktop", m_session.isDesktopUp},
            {"user", m_session.user.empty() ? Json() : Json(m_session.user)}};
}

Json Watcher::stateAsJson() const {
    return {{"agent", m_isUp ? "up" : "down"},
            {"windows", m_isUp ? windowsAsJson() : Json::array()},
            {"session", sessionAsJson()}};
}

void Watcher::publish_(const char* name, const Json& data) {
    const auto told = eventText(name, data);
    for (const auto& watching : m_watching) {
        if (const auto subscription = watching.lock()) {
            subscription->add(told);
        }
    }
}

}  // namespace gate
