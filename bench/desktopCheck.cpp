// Looking for the desktop among a thousand processes, none of which it is, beside pgrep(1). Run in
// the box, where no other process counts.
#include <benchmark/benchmark.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <vector>

#include "agent/desktopCheck.h"
#include "bareSpawn.h"

namespace {

constexpr int processCount = 1000;

void check(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(isDesktopRunning());
    }
}

void checkByPgrep(benchmark::State& state) {
    const char* const argv[] = {"/usr/bin/pgrep", "-f", "KALLO", nullptr};
    for (auto _ : state) {
        if (spawnAndRead(argv) != 0) {
            state.SkipWithError("pgrep found a desktop");
        }
    }
}

BENCHMARK(check)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(checkByPgrep)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace

int main(int argc, char** argv) {
    std::vector<pid_t> idle;
    for (int i = 0; i < processCount; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            pause();
            _exit(0);
        }
        idle.push_back(child);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    for (const pid_t child : idle) {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
}
