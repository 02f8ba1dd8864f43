// The agent's port: who listens there, and whom the firewall lets in.
#include <arpa/inet.h>
#include <unistd.h>

#include <array>
#include <fstream>
#include <sstream>

#include "client/doctor/check.h"

namespace client::doctor {
namespace {

constexpr const char* kFirewallTool = "/usr/sbin/nft";
constexpr const char* kListening = "0A";
constexpr const char* kRoot = "0";

struct Listener {
    std::string address;
    std::string user;  ///< its number
};

/// Words of four bytes in hexadecimal, each in this machine's order, as an address.
std::string addressOf(const std::string& digits) {
    std::array<uint32_t, 4> words{};
    for (size_t i = 0; i < words.size() && (i + 1) * 8 <= digits.size(); ++i) {
        words[i] = static_cast<uint32_t>(std::stoul(digits.substr(i * 8, 8), nullptr, 16));
    }
    char text[INET6_ADDRSTRLEN] = "";
    inet_ntop(digits.size() > 8 ? AF_INET6 : AF_INET, words.data(), text, sizeof text);
    return text;
}

/// The sockets of `table`, a file in the format of /proc/net/tcp (proc(5)), that listen on `port`.
void readListeners(const char* table, int port, std::vector<Listener>& listeners) {
    std::ifstream file(table);
    for (std::string line; std::getline(file, line);) {
        std::istringstream fields(line);
        std::string slot, local, remote, state, queue, timer, retransmit, user;
        fields >> slot >> local >> remote >> state >> queue >> timer >> retransmit >> user;
        const size_t colon = local.find(':');
        if (state == kListening && colon != std::string::npos &&
            std::stoi(local.substr(colon + 1), nullptr, 16) == port) {
            listeners.push_back({addressOf(local.substr(0, colon)), user});
        }
    }
}

Finding examineListener(const Listener& listener, int port) {
    const std::string what = listener.address + " port " + std::to_string(port);
    if (listener.user != kRoot) {
        return {what, Verdict::failed, "user " + listener.user + " listens there",
                "end that program: it is told passwords"};
    }
    if (listener.address.find(':') != std::string::npos) {
        return {what, Verdict::warning, "listens, and is not the agent", "find it: ss -ltnp"};
    }
    return {what, Verdict::ok, "listens"};
}

Finding examineFirewall(int port) {
    constexpr const char* kRemedy = "close the port to all but the home network, see security.md";
    if (access(kFirewallTool, X_OK) != 0) {
        return {"firewall", Verdict::warning, "no nftables: who reaches the port is not known here",
                kRemedy};
    }
    const std::string rules = outputOf({kFirewallTool, "list", "ruleset"});
    const size_t place = rules.find("dport " + std::to_string(port));
    if (place == std::string::npos) {
        return {"firewall", Verdict::warning, "no rule of nftables names the port", kRemedy};
    }
    const size_t start = rules.rfind('\n', place) + 1;
    const size_t first = rules.find_first_not_of(" \t", start);
    return {"firewall", Verdict::ok, rules.substr(first, rules.find('\n', place) - first)};
}

}  // namespace

Findings checkPort(const Arguments& arguments) {
    std::vector<Listener> listeners;
    readListeners("/proc/net/tcp", arguments.port, listeners);
    readListeners("/proc/net/tcp6", arguments.port, listeners);
    if (listeners.empty()) {
        return {{"port " + std::to_string(arguments.port), Verdict::failed, "nobody listens",
                 "systemctl restart kalloagent"}};
    }
    Findings findings;
    for (const Listener& listener : listeners) {
        findings.push_back(examineListener(listener, arguments.port));
    }
    findings.push_back(examineFirewall(arguments.port));
    return findings;
}

}  // namespace client::doctor
