// Whole requests over loopback: the running agent beside the floor program and the gate beside the
// agent, and a package list of two lengths beside bare runs of the tool that it asks once a
// package. Started by bench/inTheBox.
#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <thread>

#include "bareSpawn.h"
#include "installedPackages.h"

namespace {

constexpr uint16_t agentPort = 9812;
constexpr uint16_t gatePort = 9813;
constexpr uint16_t floorPort = 9814;

int connectTo(uint16_t port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int connection = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (connect(connection, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0) {
        perror("connect");
        exit(1);
    }
    return connection;
}

/// One conversation; returns the payload.
std::string converse(uint16_t port, const std::string& command) {
    const std::string request = "<ZelvDocRoot><cmd>" + command + "</cmd></ZelvDocRoot>";
    const int connection = connectTo(port);
    char buffer[65536];
    if (write(connection, request.data(), request.size()) < 0 ||
        read(connection, buffer, sizeof buffer) <= 0 || write(connection, "go", 2) < 0) {
        perror("conversation");
        exit(1);
    }
    std::string payload;
    for (ssize_t count; (count = read(connection, buffer, sizeof buffer)) > 0;) {
        payload.append(buffer, static_cast<size_t>(count));
    }
    close(connection);
    return payload;
}

void request(benchmark::State& state, uint16_t port, const char* command) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(converse(port, command));
    }
}

/// Installs `count` packages, and waits until the agent lists them.
void installAndWait(int count) {
    installPackages(count);
    const std::string last = "Bench" + std::to_string(count - 1) + "\n";
    const std::string beyond = "Bench" + std::to_string(count) + "\n";
    for (;;) {
        const std::string list = converse(agentPort, "ListVEXA");
        if (list.find(last) != std::string::npos && list.find(beyond) == std::string::npos) {
            return;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
}

void listPackages(benchmark::State& state, uint16_t port) {
    installAndWait(static_cast<int>(state.range(0)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(converse(port, "ListVEXA"));
    }
}

void runEnvironmentTool(benchmark::State& state) {
    const char* const argv[] = {"/opt/bin/zelvshmenv", "-r", nullptr};
    for (auto _ : state) {
        benchmark::DoNotOptimize(spawnAndRead(argv));
    }
}

}  // namespace

BENCHMARK_CAPTURE(request, agent_unknown, agentPort, "NoSuchCommand")->UseRealTime();
BENCHMARK_CAPTURE(request, gate_unknown, gatePort, "NoSuchCommand")->UseRealTime();
BENCHMARK_CAPTURE(request, floor_unknown, floorPort, "NoSuchCommand")->UseRealTime();
BENCHMARK_CAPTURE(request, agent_GetCurrentUser, agentPort, "GetCurrentUser")->UseRealTime();
BENCHMARK_CAPTURE(request, floor_GetCurrentUser, floorPort, "GetCurrentUser")->UseRealTime();
BENCHMARK_CAPTURE(request, agent_GetStatus, agentPort, "GetStatus")->UseRealTime();
BENCHMARK_CAPTURE(request, gate_GetStatus, gatePort, "GetStatus")->UseRealTime();
BENCHMARK_CAPTURE(request, floor_GetStatus, floorPort, "GetStatus")->UseRealTime();
BENCHMARK(runEnvironmentTool)->UseRealTime();
BENCHMARK_CAPTURE(listPackages, agent, agentPort)
    ->Arg(10)
    ->Arg(200)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(listPackages, gate, gatePort)
    ->Arg(10)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);
