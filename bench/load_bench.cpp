// The cost of loading the platform library in a fresh process (its load-time construction
// included), against the same process loading an empty library. Fresh processes, because a
// library with template static members cannot be unloaded and loaded again.

#include <benchmark/benchmark.h>
#include <spawn.h>
#include <stdlib.h>
#include <sys/wait.h>

#include <string>

extern char** environ;

namespace {

void RunProbe(benchmark::State& state, const std::string& library) {
    const std::string probe = ORVEX_BUILD_DIR "/bin/load_probe";
    char* argv[] = {const_cast<char*>("probe"), const_cast<char*>(library.c_str()), nullptr};
    for (auto _ : state) {
        pid_t pid;
        if (posix_spawn(&pid, probe.c_str(), nullptr, nullptr, argv, environ) != 0) {
            state.SkipWithError("posix_spawn failed");
            return;
        }
        int status = 0;
        waitpid(pid, &status, 0);
        if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
            state.SkipWithError("probe failed");
            return;
        }
    }
}

void LoadCost_Baseline(benchmark::State& state) {
    RunProbe(state, ORVEX_BUILD_DIR "/lib/liborvex_empty.so");
}
BENCHMARK(LoadCost_Baseline)->Unit(benchmark::kMicrosecond)->UseRealTime();

void LoadCost_Platform(benchmark::State& state) {
    RunProbe(state, ORVEX_BUILD_DIR "/lib/libplatform.orvex.so");
}
BENCHMARK(LoadCost_Platform)->Unit(benchmark::kMicrosecond)->UseRealTime();

}  // namespace

int main(int argc, char** argv) {
    // The probe's library reads its device files and writes its log like any caller.
    setenv("ORVEX_LOG", "off", 0);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
