#include <gtest/gtest.h>

#include "gate/web/call.h"
#include "gate/web/site.h"

namespace gate {
namespace {

TEST(Site, KnowsItsOwnHosts) {
    const Site site({"torvik-nas", "tv.home.example"}, false);
    const std::pair<const char*, bool> rows[] = {
        {"torvik-nas", true},
        {"TORVIK-NAS:9880", true},
        {"tv.home.example.", true},
        {"localhost:9880", true},
        {"192.168.1.20", true},
        {"192.168.1.20:9880", true},
        {"[::1]:9880", true},
        {"[fe80::1]", true},
        {"", false},
        {"nas.evil.example", false},
        {"torvik-nas:", false},
        {"torvik-nas:98a", false},
        {"[::1", false},
        {"[evil.example]", false},
        {"192.168.1.20.evil.example", false},
        {"torvik-nas@evil", false},
        {"[::1]evil", false},
    };
    for (const auto& [host, isOwn] : rows) {
        EXPECT_EQ(site.isOwnHost(host), isOwn) << host;
    }
    EXPECT_TRUE(site.isOwnOrigin("https://nas:9880", "NAS:9880"));
    for (const char* origin : {"", "null", "http://nas:9880", "https://nas", "https://nas:98801"}) {
        EXPECT_FALSE(site.isOwnOrigin(origin, "nas:9880")) << origin;
    }
}

Request post(const std::string& path, const std::string& body) {
    Request request(http::verb::post, "/api/v1/" + path, 11, body);
    request.set(http::field::content_type, "application/json; charset=utf-8");
    return request;
}

TEST(Call, IsReadByTheTable) {
    const Call icon = std::get<Call>(
        readCall({http::verb::get, "/api/v1/packages/a%2Fb%20%c3%A4%/icon/pad?v=1", 11}));
    EXPECT_EQ(icon.package, "a/b \xC3\xA4%");
    EXPECT_EQ(icon.icon, "pad");
    const Call login =
        std::get<Call>(readCall(post("login", R"({"password":"b","user":"\u00e4","more":1})")));
    EXPECT_EQ(login.user + login.password,
              "\xC3\xA4"
              "b");
    const std::tuple<Request, ProblemKind> rows[] = {
        {post("login", R"({"user":"a"})"), ProblemKind::badRequest},
        {post("login", R"({"user":1,"password":"b"})"), ProblemKind::badRequest},
        {post("launch", R"({"package":"Player\u0000"})"), ProblemKind::badRequest},
        {post("logout", ""), ProblemKind::badRequest},
        {post("logout", "[]"), ProblemKind::badRequest},
        {post("logout", "{"), ProblemKind::badRequest},
        {post("status", "{}"), ProblemKind::methodNotAllowed},
        {post("packages/a/icon/pad", "{}"), ProblemKind::methodNotAllowed},
        {post("logout/", "{}"), ProblemKind::notFound},
        {{http::verb::get, "/api/v1/packages//icon/pad", 11}, ProblemKind::notFound},
        {{http::verb::get, "/api/v1/packages/a/icon/tv", 11}, ProblemKind::notFound},
        {{http::verb::get, "/api/v1/packages/a%00/icon/pad", 11}, ProblemKind::notFound},
        {{http::verb::get, "/api/v1/", 11}, ProblemKind::notFound},
        {{http::verb::post, "/api/v1/logout", 11, "{}"}, ProblemKind::wrongType},
    };
    for (const auto& [request, kind] : rows) {
        EXPECT_EQ(std::get<Problem>(readCall(request)).kind, kind)
            << request.target() << request.body();
    }
}

}  // namespace
}  // namespace gate
