#include "gate/web/call.h"

#include <algorithm>
#include <charconv>
#include <nlohmann/json.hpp>
#include <vector>

namespace gate {
namespace {

using Json = nlohmann::json;
using Kind = Call::Kind;

/// A member of a body, and where its text goes.
struct Member {
    const char* name;
    std::string Call::*place;
};

struct Row {
    http::verb method;
    const char* path;  ///< below kApiPath
    Kind kind;
    std::vector<Member> members{};
};

const std::vector<Row>& rows() {
    using enum http::verb;
    static const std::vector<Row> kRows = {
        {post, "pair", Kind::pair, {{"code", &Call::code}}},
        {get, "status", Kind::status},
        {get, "packages", Kind::packages},
        {get, "session", Kind::session},
        {get, "events", Kind::events},
        {post, "launch", Kind::launch, {{"package", &Call::package}}},
        {post, "stop-all", Kind::stopAll},
        {post, "login", Kind::login, {{"user", &Call::user}, {"password", &Call::password}}},
        {post, "logout", Kind::logout},
    };
    return kRows;
}

/// packages/NAME/icon/DEVICE
std::optional<Call> readIcon(std::string_view path) {
    constexpr std::string_view kStart = "packages/";
    constexpr std::string_view kMiddle = "/icon/";
    const size_t middle = path.find(kMiddle);
    if (!path.starts_with(kStart) || middle == std::string_view::npos || middle < kStart.size()) {
        return std::nullopt;
    }
    Call call{Kind::icon};
    call.package = percentDecoded(path.substr(kStart.size(), middle - kStart.size()));
    call.icon = std::string(path.substr(middle + kMiddle.size()));
    const bool isName = !call.package.empty() && call.package.find('\0') == std::string::npos;
    const bool isSound = isName && (call.icon == "phone" || call.icon == "pad");
    return isSound ? std::optional(call) : std::nullopt;
}

bool isJson(const Request& request) {
    std::string type(request[http::field::content_type]);
    type.resize(std::min(type.find(';'), type.size()));
    type.erase(type.find_last_not_of(" \t") + 1);
    return boost::beast::iequals(type, "application/json");
}

/// The target of a request below kApiPath.
std::string_view pathOf(const Request& request) {
    std::string_view path(request.target().data(), request.target().size());
    path = path.substr(0, path.find('?'));
    path.remove_prefix(std::min(kApiPath.size(), path.size()));
    return path;
}

Problem otherMethod(http::verb allowed) {
    return {ProblemKind::methodNotAllowed, "", "", std::string(http::to_string(allowed))};
}

std::variant<Call, Problem> readBody(const Row& row, const Request& request) {
    if (!isJson(request)) {
        return Problem{ProblemKind::wrongType};
    }
    const Json body = Json::parse(request.body(), nullptr, false);
    if (!body.is_object()) {
        return Problem{ProblemKind::badRequest, "The body is no JSON object."};
    }
    Call call{row.kind};
    for (const Member& member : row.members) {
        const auto found = body.find(member.name);
        if (found == body.end() || !found->is_string()) {
            return Problem{ProblemKind::badRequest,
                           std::string("The text \"") + member.name + "\" is missing."};
        }
        call.*member.place = found->get<std::string>();
        if ((call.*member.place).find('\0') != std::string::npos) {
            return Problem{ProblemKind::badRequest,
                           std::string("The text \"") + member.name + "\" holds a NUL byte."};
        }
    }
    return call;
}

}  // namespace

std::string percentDecoded(std::string_view text) {
    std::string decoded;
    for (size_t at = 0; at < text.size(); ++at) {
        unsigned char byte = 0;
        const char* const digits = text.data() + at + 1;
        if (text[at] == '%' && at + 2 < text.size() &&
            std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2) {
            decoded += static_cast<char>(byte);
            at += 2;
        } else {
            decoded += text[at];
        }
    }
    return decoded;
}

bool isPairing(const Request& request) {
    return pathOf(request) == "pair";
}

std::variant<Call, Problem> readCall(const Request& request) {
    const std::string_view path = pathOf(request);
    if (const auto icon = readIcon(path)) {
        return request.method() == http::verb::get ? std::variant<Call, Problem>(*icon)
                                                   : otherMethod(http::verb::get);
    }
    const auto row =
        std::ranges::find_if(rows(), [path](const Row& known) { return path == known.path; });
    if (row == rows().end()) {
        return Problem{ProblemKind::notFound};
    }
    if (request.method() != row->method) {
        return otherMethod(row->method);
    }
    if (row->method == http::verb::get) {
        return Call{row->kind};
    }
    return readBody(*row, request);
}

}  // namespace gate
