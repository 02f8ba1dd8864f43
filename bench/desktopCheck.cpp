// Looking for the desktop, which is not there: among a thousand processes, beside pgrep(1); and
// among three hundred that have two megabytes of arguments, beside a plain read of the same files.
// Run in the box, where no other process counts.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <string>
#include <vector>

#include "agent/desktopCheck.h"
#include "bareSpawn.h"

namespace {

constexpr int kSmallProcesses = 1000;
constexpr int kLargeProcesses = 300;
constexpr int kArguments = 15;
constexpr size_t kArgumentSize = 130'000;  // the kernel takes 128 KiB for one
constexpr const char* kLargeMode = "large";
constexpr size_t kReadSize = 32768;

std::vector<pid_t> idle;

void endAll(const benchmark::State& /*state*/) {
    for (const pid_t child : idle) {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
    idle.clear();
}

void forkIdle(int count) {
    for (int i = 0; i < count; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            pause();
            _exit(0);
        }
        idle.push_back(child);
    }
}

void startSmall(const benchmark::State& /*state*/) {
    forkIdle(kSmallProcesses);
}

/// All of them share the arguments of this program, started again.
void startLarge(const benchmark::State& /*state*/) {
    std::string padding(kArgumentSize, 'x');
    std::vector<char*> argv = {const_cast<char*>("idle"), const_cast<char*>(kLargeMode)};
    argv.insert(argv.end(), kArguments, padding.data());
    argv.push_back(nullptr);
    pid_t child = 0;
    if (posix_spawn(&child, "/proc/self/exe", nullptr, nullptr, argv.data(), environ) != 0) {
        abort();
    }
    idle.push_back(child);
    sleep(1);  // until it has made the others
}

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

void plainRead(benchmark::State& state) {
    std::string buffer(kReadSize, '\0');
    for (auto _ : state) {
        for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
            const int fd = open((entry.path() / "cmdline").c_str(), O_RDONLY | O_CLOEXEC);
            while (fd >= 0 && read(fd, buffer.data(), buffer.size()) > 0) {
            }
            close(fd);
        }
    }
}

BENCHMARK(check)->UseRealTime()->Unit(benchmark::kMillisecond)->Setup(startSmall)->Teardown(endAll);
BENCHMARK(checkByPgrep)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond)
    ->Setup(startSmall)
    ->Teardown(endAll);
BENCHMARK(check)
    ->Name("checkLarge")
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond)
    ->Setup(startLarge)
    ->Teardown(endAll);
BENCHMARK(plainRead)
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond)
    ->Setup(startLarge)
    ->Teardown(endAll);

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::string(argv[1]) == kLargeMode) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        forkIdle(kLargeProcesses - 1);
        pause();
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
