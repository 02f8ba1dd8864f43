// Starting commands: the command runner beside the bare calls it is to stay close to and the C
// library's shell-bound ones. The argument of each is the memory, in MB, that the process holds
// resident meanwhile: the cost must not grow with it.
// On a machine with other work, run it by chrt(1) ("chrt -f 10 ..."), which keeps that out.
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include "bareSpawn.h"
#include "support/commandRunner.h"

namespace {

constexpr size_t outputSize = 1024;

bool succeeded(pid_t child) {
    int status = 0;
    return child > 0 && waitpid(child, &status, 0) == child && status == 0;
}

/// Reads all that comes and says whether it was the expected amount.
bool readsOutput(FILE* stream) {
    char buffer[outputSize + 1];
    return stream != nullptr && fread(buffer, 1, sizeof buffer, stream) == outputSize;
}

bool runBySpawn() {
    const char* const argv[] = {"/bin/true", nullptr};
    return succeeded(spawn(argv, -1));
}

bool runByExecRun() {
    return exec_run("/bin/true", nullptr) == 0;
}

bool runBySystem() {
    return system("/bin/true") == 0;
}

bool readBySpawn() {
    const char* const argv[] = {"/usr/bin/head", "-c", "1024", "/dev/zero", nullptr};
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return false;
    }
    const pid_t child = spawn(argv, ends[1]);
    close(ends[1]);
    char buffer[outputSize];
    size_t total = 0;
    ssize_t got = 0;
    while ((got = read(ends[0], buffer, sizeof buffer)) > 0) {
        total += static_cast<size_t>(got);
    }
    close(ends[0]);
    return succeeded(child) && total == outputSize;
}

bool readByExecPopen() {
    FILE* stream = exec_popen("r", "/usr/bin/head", "-c", "1024", "/dev/zero", nullptr);
    const bool isRead = readsOutput(stream);
    return exec_pclose(stream) != -1 && isRead;
}

bool readByPopen() {
    FILE* stream = popen("/usr/bin/head -c 1024 /dev/zero", "re");
    const bool isRead = readsOutput(stream);
    return pclose(stream) == 0 && isRead;
}

void measure(benchmark::State& state, bool (*start)()) {
    std::vector<char> resident(static_cast<size_t>(state.range(0)) << 20, 'x');
    benchmark::DoNotOptimize(resident.data());
    for (auto _ : state) {
        if (!start()) {
            state.SkipWithError("the command did not run as it should");
            return;
        }
    }
}

double least(const std::vector<double>& times) {
    return *std::min_element(times.begin(), times.end());
}

// Real time: nearly all of it passes in the child. The least of the repetitions is what other work
// on the machine has disturbed least.
#define MEASURE(start)                       \
    BENCHMARK_CAPTURE(measure, start, start) \
        ->Arg(0)                             \
        ->Arg(64)                            \
        ->UseRealTime()                      \
        ->ComputeStatistics("least", least)

MEASURE(runBySpawn);
MEASURE(runByExecRun);
MEASURE(runBySystem);
MEASURE(readBySpawn);
MEASURE(readByExecPopen);
MEASURE(readByPopen);

}  // namespace
