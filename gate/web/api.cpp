#include "gate/web/api.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "companion/answer.h"
#include "companion/credential.h"
#include "companion/request.h"
#include "gate/log.h"
#include "support/protocol.h"

namespace gate {
namespace {

namespace asio = boost::asio;
using namespace protocol;
using Json = nlohmann::ordered_json;
using Kind = AgentReply::Kind;
using std::chrono::steady_clock;

constexpr std::string_view kCookie = "kallogate=";

/// The token in the cookies of a request (RFC 6265, 4.2); empty when there is none.
std::string_view tokenOf(const Request& request) {
    const auto field = request[http::field::cookie];
    std::string_view cookies(field.data(), field.size());
    while (!cookies.empty()) {
        const size_t end = std::min(cookies.find(';'), cookies.size());
        const std::string_view cookie = cookies.substr(0, end);
        if (cookie.starts_with(kCookie)) {
            return cookie.substr(kCookie.size());
        }
        cookies.remove_prefix(std::min(cookies.find_first_not_of("; ", end), cookies.size()));
    }
    return {};
}

Response gone() {
    return problemResponse({ProblemKind::agentGone});
}

/// The problem that the agent's `result` is for a launch.
ProblemKind launchProblem(const std::string& result) {
    if (result == kResultTexts[vexaNotFound]) {
        return ProblemKind::packageNotFound;
    }
    if (result == kResultTexts[noPermission]) {
        return ProblemKind::noPermission;
    }
    return result == kResultTexts[loginRequired] ? ProblemKind::nobodyLoggedIn
                                                 : ProblemKind::runsAlready;
}

/// The type of a picture by its first bytes; null for what no page shows. A vector picture may hold
/// a script, and is none here.
const char* pictureType(const std::string& content) {
    if (content.starts_with("\x89PNG")) {
        return "image/png";
    }
    if (content.starts_with("\xFF\xD8\xFF")) {
        return "image/jpeg";
    }
    if (content.starts_with("GIF8")) {
        return "image/gif";
    }
    const bool isWebp = content.starts_with("RIFF") && content.compare(8, 4, "WEBP") == 0;
    return isWebp ? "image/webp" : nullptr;
}

Json packageAsJson(const XMLNode& item) {
    Json icons = Json::array();
    if (companion::childText(item, kPhoneIconElement) == "yes") {
        icons.push_back(kPhone);
    }
    if (companion::childText(item, kPadIconElement) == "yes") {
        icons.push_back(kPad);
    }
    return {{"name", companion::childText(item, kNameElement)},
            {"title", companion::childText(item, kDisplayNameElement)},
            {"version", companion::childText(item, kPackageVersionElement)},
            {"icons", icons}};
}

}  // namespace

std::variant<Api::PairedCall, Problem> Api::admit(const Request& request, const Site& site) {
    const auto host = request[http::field::host];
    const auto origin = request[http::field::origin];
    const bool isForAll = isPairing(request);
    const Device* const device = isForAll ? nullptr : m_devices.find(tokenOf(request));
    if (device == nullptr && !isForAll) {
        return Problem{ProblemKind::notPaired, "Run \"kallogate pair\" on the server."};
    }
    // A browser names the page that a request comes from with everything that changes something.
    if (request.method() == http::verb::post &&
        !site.isOwnOrigin({origin.data(), origin.size()}, {host.data(), host.size()})) {
        return Problem{ProblemKind::foreignOrigin};
    }
    auto call = readCall(request);
    if (std::holds_alternative<Problem>(call)) {
        return std::get<Problem>(call);
    }
    return PairedCall{std::get<Call>(call), device == nullptr ? "" : device->id};
}

asio::awaitable<Response> Api::answer(const Address& client, const PairedCall& paired) {
    const Call& call = paired.call;
    switch (call.kind) {
        case Call::Kind::pair:
            return pair_(call);
        case Call::Kind::status:
            return answerStatus_();
        case Call::Kind::packages:
            return answerPackages_(client);
        case Call::Kind::icon:
            return answerIcon_(client, call);
        case Call::Kind::session:
            return answerSession_();
        case Call::Kind::launch:
            return launch_(client, call);
        case Call::Kind::stopAll:
            return carryOut_(client, kKillAll);
        case Call::Kind::login:
            return logIn_(client, call);
        case Call::Kind::logout:
            return carryOut_(client, kLogout);
        case Call::Kind::events:
            break;
    }
    throw std::logic_error("a stream is no answer");
}

asio::awaitable<Answer> Api::ask_(Address client, const std::string& request) {
    const CheckedRequest checked = checkRequest(request);
    const auto start = steady_clock::now();
    const Answer answer = co_await m_door.answer(client, checked);
    m_door.record(client, checked, answer, start, true);
    co_return answer;
}

asio::awaitable<Response> Api::answerStatus_() {
    const bool isUp = co_await m_watcher.readWindows();
    co_return jsonResponse(http::status::ok,
                           {{"agent", isUp ? "up" : "down"},
                            {"windows", isUp ? m_watcher.windowsAsJson() : Json::array()}});
}

asio::awaitable<Response> Api::answerSession_() {
    const bool isUp = co_await m_watcher.readSession();
    co_return isUp ? jsonResponse(http::status::ok, m_watcher.sessionAsJson()) : gone();
}

asio::awaitable<Response> Api::answerPackages_(Address client) {
    const std::string request = companion::requestText(kListVexa);
    const Answer answer = co_await ask_(client, request);
    const XMLNode document = companion::parseDocument(answer.reply.text());
    const std::string result = companion::resultOf(document);
    if (result.empty()) {
        co_return gone();
    }
    Json packages = Json::array();
    for (const XMLNode& item : companion::itemsOf(document)) {
        packages.push_back(packageAsJson(item));
    }
    const Json server = {{"name", companion::childText(document, kServerNameElement)},
                         {"model", companion::childText(document, kModelElement)}};
    co_return jsonResponse(http::status::ok, {{"server", server},
                                              {"desktop", result != kResultTexts[loginRequired]},
                                              {"packages", packages}});
}

asio::awaitable<Response> Api::answerIcon_(Address client, const Call& call) {
    const std::string request = companion::requestText(kGetIcon, {call.package, call.icon});
    const Answer answer = co_await ask_(client, request);
    if (answer.reply.kind != Kind::answered) {
        co_return gone();
    }
    const char* const type = pictureType(answer.reply.text());
    if (type == nullptr) {
        co_return problemResponse({ProblemKind::noIcon});
    }
    Response response(http::status::ok, 11);
    response.set(http::field::content_type, type);
    response.set(http::field::etag, tagOf(answer.reply.text()));
    response.set(http::field::cache_control, "private, max-age=300");
    response.body() = answer.reply.text();
    co_return response;
}

asio::awaitable<Response> Api::launch_(Address client, const Call& call) {
    if (call.package.find_first_not_of(" \t\r\n") == std::string::npos) {
        co_return problemResponse({ProblemKind::badRequest, "The package has no name."});
    }
    if (!m_watcher.isKnown()) {  // what is open already is none of the windows to come
        co_await m_watcher.readWindows();
    }
    const std::string request = companion::requestText(kLaunch, {call.package});
    const Answer answer = co_await ask_(client, request);
    if (answer.reply.kind != Kind::answered) {
        co_return gone();
    }
    const std::string result = resultIn(answer.reply.text());
    if (result != kResultTexts[success]) {
        co_return problemResponse({launchProblem(result), "", result});
    }
    m_watcher.noteLaunch(call.package);
    m_watcher.hurry();
    co_return emptyResponse();
}

/// Of a command that the agent carries out without an answer.
asio::awaitable<Response> Api::carryOut_(Address client, const char* command) {
    const std::string request = companion::requestText(command);
    const Answer answer = co_await ask_(client, request);
    m_watcher.hurry();
    co_return answer.reply.kind == Kind::silent ? emptyResponse() : gone();
}

asio::awaitable<Response> Api::logIn_(Address client, const Call& call) {
    using companion::CredentialForm;
    for (const auto& [name, value] :
         {std::pair("user", call.user), std::pair("password", call.password)}) {
        const std::string fault = companion::credentialFault(value, CredentialForm::enciphered);
        if (!fault.empty()) {
            std::string detail = std::string("The ") + name + " " + fault + ".";
            co_return problemResponse({ProblemKind::badRequest, detail});
        }
    }
    const std::string request = companion::loginRequest(call.user, call.password);
    const Answer answer = co_await ask_(client, request);
    if (answer.reply.kind != Kind::answered) {
        co_return gone();
    }
    const std::string result = resultIn(answer.reply.text());
    if (result == kLoginSuccess) {
        m_watcher.hurry();
        co_return emptyResponse();
    }
    if (answer.isLimited) {
        co_return problemResponse({ProblemKind::tooManyAttempts, "", result});
    }
    // While the desktop is up the agent refuses every log-in, whatever the password.
    const bool isRead = co_await m_watcher.readSession();
    if (isRead && m_watcher.session().isDesktopUp) {
        m_door.logins.takeBack(client);
        co_return problemResponse({ProblemKind::somebodyAtTelevision, "", result});
    }
    co_return problemResponse({ProblemKind::loginRefused, "", result});
}

asio::awaitable<Response> Api::pair_(const Call& call) {
    const auto name = m_codes.take(call.code, steady_clock::now());
    if (!name) {
        co_return problemResponse({ProblemKind::wrongCode});
    }
    try {
        const std::string token = m_devices.add(*name);
        logText("paired: device " + m_devices.list().back().id);
        Response response = emptyResponse();
        // Browsers keep a cookie for 400 days at most.
        response.set(http::field::set_cookie,
                     std::string(kCookie) + token +
                         "; Path=/; Max-Age=34560000; Secure; HttpOnly; SameSite=Strict");
        co_return response;
    } catch (const DevicesError&) {
        co_return problemResponse({ProblemKind::cannotPair, "The log of the server says why."});
    }
}

}  // namespace gate
