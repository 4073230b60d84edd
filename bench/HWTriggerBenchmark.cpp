// Key-event latency of the hardware trigger module: from the simulated service's write and
// wake to the caller's OnKeyEvent, against the wake of a thread asleep on a futex (the wake-up
// cost that any queue-plus-event-flag design pays). In both, each event is sent only once the
// receiving thread is really asleep, as the module's reader is between key presses: a thread
// caught before it blocks is woken for nothing and would flatter either side. Reported time is
// the mean one-way latency per event; counters give p50, p99 and the event rate.

#include <benchmark/benchmark.h>
#include <linux/futex.h>
#include <stdio.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <fstream>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "ComponentIndex.h"
#include "HardwareManagerSim.h"
#include "PlatformModuleInterfaces.h"

namespace {

constexpr size_t kEvents = 20000;

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

pid_t ThreadId() { return static_cast<pid_t>(syscall(SYS_gettid)); }

// Returns once thread `tid` of this process sleeps (state S), outside the measured span.
void AwaitAsleep(pid_t tid) {
    char path[64];
    snprintf(path, sizeof path, "/proc/self/task/%d/stat", static_cast<int>(tid));
    for (std::string stat;; std::this_thread::yield()) {
        std::ifstream in(path);
        if (!std::getline(in, stat)) return;  // no such thread (any more)
        const size_t name = stat.rfind(')');
        if (name != std::string::npos && name + 2 < stat.size() && stat[name + 2] == 'S') return;
    }
}

long Futex(std::atomic<uint32_t>* word, int op, uint32_t value) {
    return syscall(SYS_futex, reinterpret_cast<uint32_t*>(word), op, value, nullptr, nullptr, 0);
}

// One thread waits until the other sleeps, stamps the time and wakes it; the other measures
// and answers.
void KeyEvent_Baseline(benchmark::State& state) {
    for (auto _ : state) {
        std::atomic<uint32_t> word{0};
        std::atomic<int64_t> stamp{0};
        std::atomic<pid_t> receiverId{0};
        std::vector<int64_t> latencies;
        latencies.reserve(kEvents);
        std::thread receiver([&] {
            receiverId = ThreadId();
            for (size_t i = 0; i < kEvents; ++i) {
                while (word.load(std::memory_order_acquire) != 1) Futex(&word, FUTEX_WAIT, 0);
                latencies.push_back(NowNanos() - stamp.load(std::memory_order_relaxed));
                word.store(2, std::memory_order_release);
                Futex(&word, FUTEX_WAKE, 1);
            }
        });
        int64_t start = NowNanos();
        while (receiverId == 0) std::this_thread::yield();
        for (size_t i = 0; i < kEvents; ++i) {
            AwaitAsleep(receiverId);
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
        {
            std::lock_guard<std::mutex> lock(mLock);
            mLatencies.push_back(now - mStamps[sequence].load(std::memory_order_acquire));
            reader = ThreadId();
        }
        mDone.notify_all();
    }
    void OnPreKeyEvent(unsigned int, unsigned int) override {}
    std::atomic<pid_t> reader{0};  // the module's reader thread, once it delivered

    // Sleeps until `count` events were delivered, as the baseline's sender sleeps for its answer.
    void WaitDelivered(size_t count) {
        std::unique_lock<std::mutex> lock(mLock);
        mDone.wait(lock, [&] { return mLatencies.size() >= count; });
    }

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
        for (uint32_t i = 0; i < kEvents; ++i) {
            // The reader is done with the previous event, then asleep; it starts asleep.
            callback.WaitDelivered(i);
            if (i == 0) std::this_thread::sleep_for(std::chrono::milliseconds(10));
            if (i > 0) AwaitAsleep(callback.reader);
            sim.trigger()->Press(1, 0, i);
        }
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
