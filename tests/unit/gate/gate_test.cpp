#include <gtest/gtest.h>

#include "gate/loginGuard.h"
#include "gate/networks.h"
#include "gate/requestCheck.h"

namespace gate {
namespace {

using enum CheckedRequest::Verdict;

std::string request(const std::string& command, const std::vector<std::string>& parameters = {}) {
    std::string text = "<ZelvDocRoot version=\"1.2\"><cmd>" + command + "</cmd>";
    for (const std::string& parameter : parameters) {
        text += "<param>" + parameter + "</param>";
    }
    return text + "</ZelvDocRoot>\n";
}

TEST(RequestCheck, WritesWhatIsSoundAnew) {
    const std::string block(88, 'A');
    const std::string name(255, 'n');
    const struct {
        std::string sent;
        CheckedRequest::Verdict verdict;
        std::string told = "";  ///< the text for the agent, or the result for the client
    } rows[] = {
        {" \r\n<!-- x -->" + request("GetStatus", {"more"}), sound, request("GetStatus")},
        {request("SetAutoLogin", {"'"}), sound, request("SetAutoLogin")},
        {request("Launch", {"a'&lt;b", "c"}), sound, request("Launch", {"a&apos;&lt;b"})},
        {request("Launch", {name}), sound, request("Launch", {name})},
        {request("Launch", {name + "n"}), refused, "vexa_not_found"},
        {request("Launch", {"\xFF"}), refused, "vexa_not_found"},
        {request("Launch", {"a&#127;"}), refused, "vexa_not_found"},
        {request("Launch", {"a&#32;"}), refused, "vexa_not_found"},
        {request("GetIcon", {"a", "pad"}), sound, request("GetIcon", {"a", "pad"})},
        {request("GetIcon", {"a", "Pad"}), noIcon},
        {request("Login", {block, "YW\r\n Rt"}), sound, request("Login", {block, "YWRt"})},
        {request("Login", {block + "AAAA", "YWRt"}), refused, "login_fail"},
        {request("Login", {"YWRt", "YWR"}), refused, "login_fail"},
        {request("Login", {"YWRt", "YW=t"}), refused, "login_fail"},
        {request("Login2", {block, block}), refused, "login_fail"},
        {request("Login2", {"YW==", "===="}), sound, request("Login2", {"YW==", "===="})},
        {request("getstatus"), refused, "invalid_command"},
        {request("GetPassword"), refused, "invalid_command"},
        {"x" + request("GetStatus"), silent},
        {std::string(1, '\0') + request("GetStatus"), silent},
        {"<cmd>GetStatus</cmd>", silent},
        {"", silent},
    };
    for (const auto& row : rows) {
        const CheckedRequest found = checkRequest(row.sent);
        EXPECT_EQ(found.verdict, row.verdict) << row.sent;
        const std::string told = found.verdict == sound ? found.text + "\n" : found.result;
        EXPECT_EQ(told, row.told) << row.sent;
    }
}

TEST(Network, HoldsItsAddresses) {
    using boost::asio::ip::make_address;
    const std::tuple<const char*, const char*, bool> rows[] = {
        {"10.0.0.0/8", "10.255.0.1", true},     {"10.0.0.0/8", "11.0.0.1", false},
        {"172.16.0.0/12", "172.31.9.9", true},  {"172.16.0.0/12", "172.32.0.0", false},
        {"10.0.0.1", "10.0.0.1", true},         {"10.0.0.1", "10.0.0.0", false},
        {"0.0.0.0/0", "1.2.3.4", true},         {"0.0.0.0/0", "::1", false},
        {"fe80::/10", "febf::1", true},         {"fe80::/10", "fec0::1", false},
        {"10.0.0.0/8", "::ffff:10.1.1.1", true}};
    for (const auto& [network, address, isHeld] : rows) {
        EXPECT_EQ(Network::parse(network)->holds(plainAddress(make_address(address))), isHeld)
            << network << " " << address;
    }
    for (const char* text :
         {"", "10.0.0.0/33", "10.0.0.0/", "::/129", "10.0.0.0/8x", "nas", "1/-1"}) {
        EXPECT_FALSE(Network::parse(text)) << text;
    }
}

TEST(LoginGuard, CountsTheFailuresOfAMinute) {
    const auto address = [](unsigned last) { return boost::asio::ip::address_v4(last); };
    const LoginGuard::Time start{};
    LoginGuard guard;
    guard.limit(2, 3);
    EXPECT_TRUE(guard.admit(address(1), start) && guard.admit(address(1), start));
    EXPECT_FALSE(guard.admit(address(1), start));
    guard.takeBack(address(1));
    EXPECT_TRUE(guard.admit(address(1), start) && guard.admit(address(2), start));
    EXPECT_FALSE(guard.admit(address(3), start + std::chrono::seconds(59)));
    guard.succeeded(address(1));
    EXPECT_TRUE(guard.admit(address(3), start) && guard.admit(address(1), start));
    EXPECT_FALSE(guard.admit(address(4), start));
    EXPECT_TRUE(guard.admit(address(4), start + std::chrono::minutes(1)));
}

}  // namespace
}  // namespace gate
