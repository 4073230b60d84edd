// Key-event latency of the hardware trigger module: from the simulated service's write and
// wake to the caller's OnKeyEvent, against a futex ping-pong between two threads (the wake-up
// cost that any queue-plus-event-flag design pays). Reported time is the mean one-way latency
// per event; counters give p50, p99 and the sustained event rate.

#include <benchmark/benchmark.h>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

#include "ComponentIndex.h"
#include "HardwareManagerSim.h"
#include "PlatformModuleInterfaces.h"

namespace {

constexpr size_t kEvents = 100000;

int64_t NowNanos() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

void Report(benchmark::State& state, std::vector<int64_t>& latencies, int64_t totalNanos) {
    std::sort(latencies.begin(), latencies.end());
    double sum = 0;
    for (int64_t l : latencies) sum += static_cast<double>(l);
    state.SetIterationTime(sum / static_cast<double>(latencies.size()) / 1e9);
    state.counters["p50_us"] = static_cast<double>(latencies[latencies.size() / 2]) / 1e3;
    state.counters["p99_us"] = static_cast<double>(latencies[latencies.size() * 99 / 100]) / 1e3;
    state.counters["events_per_s"] =
        static_cast<double>(latencies.size()) / (static_cast<double>(totalNanos) / 1e9);
}

long Futex(std::atomic<uint32_t>* word, int op, uint32_t value) {
    return syscall(SYS_futex, reinterpret_cast<uint32_t*>(word), op, value, nullptr, nullptr, 0);
}

// One thread stamps the time and wakes the other, which measures and answers.
void KeyEvent_Baseline(benchmark::State& state) {
    for (auto _ : state) {
        std::atomic<uint32_t> word{0};
        std::atomic<int64_t> stamp{0};
        std::vector<int64_t> latencies;
        latencies.reserve(kEvents);
        std::thread receiver([&] {
            for (size_t i = 0; i < kEvents; ++i) {
                while (word.load(std::memory_order_acquire) != 1) Futex(&word, FUTEX_WAIT, 0);
                latencies.push_back(NowNanos() - stamp.load(std::memory_order_relaxed));
                word.store(2, std::memory_order_release);
                Futex(&word, FUTEX_WAKE, 1);
            }
        });
        int64_t start = NowNanos();
        for (size_t i = 0; i < kEvents; ++i) {
            stamp.store(NowNanos(), std::memory_order_relaxed);
            word.store(1, std::memory_order_release);
            Futex(&word, FUTEX_WAKE, 1);
            uint32_t seen;
            while ((seen = word.load(std::memory_order_acquire)) != 2)
                Futex(&word, FUTEX_WAIT, seen);
            word.store(0, std::memory_order_relaxed);
        }
        int64_t total = NowNanos() - start;
        receiver.join();
        Report(state, latencies, total);
    }
}

class LatencyCallback : public ITriggerKeyEventWrapperCallBack {
  public:
    explicit LatencyCallback(std::vector<std::atomic<int64_t>>& stamps) : mStamps(stamps) {
        mLatencies.reserve(kEvents);
    }
    void OnKeyEvent(unsigned int, unsigned int sequence) override {
        int64_t now = NowNanos();
        std::lock_guard<std::mutex> lock(mLock);
        mLatencies.push_back(now - mStamps[sequence].load(std::memory_order_acquire));
        if (mLatencies.size() == kEvents) mDone.notify_all();
    }
    void OnPreKeyEvent(unsigned int, unsigned int) override {}

    std::vector<int64_t> Wait() {
        std::unique_lock<std::mutex> lock(mLock);
        mDone.wait_for(lock, std::chrono::minutes(2), [&] { return mLatencies.size() == kEvents; });
        return mLatencies;
    }

  private:
    std::vector<std::atomic<int64_t>>& mStamps;
    std::mutex mLock;
    std::condition_variable mDone;
    std::vector<int64_t> mLatencies;
};

// The simulated service writes each record, wakes bit 1 and waits for bit 2; the module's
// reader thread reads the record and calls OnKeyEvent.
void KeyEvent_HWTrigger(benchmark::State& state) {
    for (auto _ : state) {
        orvex::sim::HardwareManagerSim sim;
        std::vector<std::atomic<int64_t>> stamps(kEvents);
        LatencyCallback callback(stamps);
        std::unique_ptr<IHWTriggerModule> module(static_cast<IHWTriggerModule*>(
            ComponentIndex::Instance()->CreateModule(PLATFORM_MODULE_HW_TRIGGER, "HWTrigger")));
        module->Initialize(&callback);
        if (!module->AcquireHWTrigger()) {
            state.SkipWithError("AcquireHWTrigger failed");
            return;
        }
        sim.trigger()->SetWriteObserver([&](const std::vector<orvex::sim::FakeTrigger::Record>& r) {
            stamps[r[0].second].store(NowNanos(), std::memory_order_release);
        });
        int64_t start = NowNanos();
        for (uint32_t i = 0; i < kEvents; ++i) sim.trigger()->Press(1, 0, i);
        std::vector<int64_t> latencies = callback.Wait();
        int64_t total = NowNanos() - start;
        module->ReleaseHWTrigger();
        if (latencies.size() != kEvents) {
            state.SkipWithError("events lost");
            return;
        }
        Report(state, latencies, total);
    }
}

BENCHMARK(KeyEvent_Baseline)->Iterations(1)->UseManualTime()->Unit(benchmark::kMicrosecond);
BENCHMARK(KeyEvent_HWTrigger)->Iterations(1)->UseManualTime()->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
