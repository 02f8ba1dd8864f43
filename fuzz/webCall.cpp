// The bytes of a browser at the gate, from HTTP to a call of the JSON interface: whatever is taken
// names one call, with the values of that call and no others. The whole input is one request.
#include <boost/asio/buffer.hpp>
#include <boost/beast/http/parser.hpp>
#include <cassert>
#include <string>

#include "fuzz/target.h"
#include "gate/web/call.h"

namespace {

using gate::Call;
using Kind = Call::Kind;

/// What a kind is asked by, and the values that it has; null for the icon, whose path is its own.
struct Row {
    Kind kind;
    gate::http::verb method;
    const char* path;
    bool hasPackage = false;
    bool hasLogin = false;
    bool hasCode = false;
};

constexpr auto kGet = gate::http::verb::get;
constexpr auto kPost = gate::http::verb::post;
constexpr Row kRows[] = {
    {Kind::pair, kPost, "pair", false, false, true},
    {Kind::status, kGet, "status"},
    {Kind::packages, kGet, "packages"},
    {Kind::icon, kGet, nullptr, true},
    {Kind::session, kGet, "session"},
    {Kind::events, kGet, "events"},
    {Kind::launch, kPost, "launch", true},
    {Kind::stopAll, kPost, "stop-all"},
    {Kind::login, kPost, "login", false, true},
    {Kind::logout, kPost, "logout"},
};

void check(const Call& call, const gate::Request& request) {
    const Row& row = kRows[static_cast<size_t>(call.kind)];
    const std::string_view target(request.target().data(), request.target().size());
    assert(row.kind == call.kind && request.method() == row.method);
    if (row.path != nullptr) {
        const std::string path = std::string(gate::kApiPath) + row.path;
        assert(target == path || target.starts_with(path + "?"));
    }
    assert((call.icon == "phone" || call.icon == "pad") == (call.kind == Kind::icon));
    assert(!call.package.empty() || call.kind != Kind::icon);
    assert(row.hasPackage || call.package.empty());
    assert(row.hasLogin || (call.user.empty() && call.password.empty()));
    assert(row.hasCode || call.code.empty());
}

}  // namespace

int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view bytes = fuzz::textOf(data, size);
    gate::http::request_parser<gate::http::string_body> parser;
    parser.header_limit(gate::kRequestHeadLimit);
    parser.body_limit(gate::kRequestBodyLimit);
    parser.eager(true);
    boost::system::error_code error;
    parser.put(boost::asio::buffer(bytes.data(), bytes.size()), error);
    const bool isWhole = !error && parser.is_done();
    if (!isWhole ||
        !parser.get().target().starts_with({gate::kApiPath.data(), gate::kApiPath.size()})) {
        return 0;
    }
    const auto call = gate::readCall(parser.get());
    if (std::holds_alternative<Call>(call)) {
        check(std::get<Call>(call), parser.get());
    }
    return 0;
}
