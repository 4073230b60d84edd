// What a log call costs when the level drops it, against the cheapest possible call.

#include <benchmark/benchmark.h>

#include "ScannerLog.h"

namespace {

__attribute__((noinline)) void EmptyCall(int value) {
    asm volatile("" : : "r"(value) : "memory");
}

void GatedLog_Baseline(benchmark::State& state) {
    int i = 0;
    for (auto _ : state) EmptyCall(++i);
}
BENCHMARK(GatedLog_Baseline);

// The default level 5 drops debug lines; the arguments must not even be evaluated.
void GatedLog_DroppedDebug(benchmark::State& state) {
    int i = 0;
    for (auto _ : state) {
        ++i;
        SF_LOGD("[Bench::Loop] value %d %s\n", i, "text");
        asm volatile("" : : "r"(i) : "memory");
    }
}
BENCHMARK(GatedLog_DroppedDebug);

}  // namespace

BENCHMARK_MAIN();
