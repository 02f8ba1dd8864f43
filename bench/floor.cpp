// The floor under one request: a server that does only what nobody can leave out. It accepts,
// reads, runs the same tool as the agent and reads its output, announces, reads the go-ahead, sends
// the payload and closes.
#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdlib>
#include <string>
#include <string_view>

#include "bareSpawn.h"

namespace {

constexpr const char* kEnvironmentTool[] = {"/opt/bin/zelvshmenv", "-r", nullptr};
constexpr const char* kWindowTool[] = {"/usr/bin/wmctrl", "-lp", nullptr};
constexpr std::string_view kAnnouncement =
    "<ZelvDocRoot version=\"1.2\">\n\t<size>\n\t\t136\n\t</size>\n</ZelvDocRoot>\n";

void serve(int connection, const std::string& payload) {
    char request[4096];
    const ssize_t count = read(connection, request, sizeof request);
    const std::string_view text(request, count > 0 ? static_cast<size_t>(count) : 0);
    if (text.find("GetCurrentUser") != std::string_view::npos) {
        spawnAndRead(kEnvironmentTool);
    } else if (text.find("GetStatus") != std::string_view::npos) {
        spawnAndRead(kWindowTool);
    }
    char goAhead[4096];
    if (write(connection, kAnnouncement.data(), kAnnouncement.size()) < 0 ||
        read(connection, goAhead, sizeof goAhead) <= 0 ||
        write(connection, payload.data(), payload.size()) < 0) {
        abort();
    }
}

}  // namespace

int main(int argc, char** argv) {
    const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(argc > 1 ? atoi(argv[1]) : 0));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int on = 1;
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        listen(listener, 1) != 0) {
        return 1;
    }
    const std::string payload(136, 'x');
    for (;;) {
        const int connection = accept4(listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (connection >= 0) {
            serve(connection, payload);
            close(connection);
        }
    }
}
