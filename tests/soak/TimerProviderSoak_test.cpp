// The timer service under load: 10,000 timers created, started, stopped and destroyed from four
// threads at once and from inside callbacks. Each timer follows one of a few life stories whose
// callback count is known; at the end every timer was destroyed exactly once ("Destroying
// timer" once per timer), and the service leaves no descriptor behind (leaks are ASan's part).

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "SoakSupport.h"
#include "TimerProvider.h"

namespace {

constexpr auto kWait = std::chrono::seconds(60);
constexpr int kNeverMs = 3600 * 1000;  // a deadline no run of this suite reaches
constexpr int kSoonMs = 1;

// How a timer lives, and how many callbacks that gives it.
enum class Story {
    kStoppedBeforeItFires,   // started with a far deadline, stopped, destroyed: 0
    kOwnerDestroysAfterOne,  // fires; its creator waits for that and destroys it: 1
    kDestroysItself,         // fires; its callback destroys it: 1
    kRestartsTwice,          // its callback starts it again twice, then destroys it: 3
    kSpawnsAChild,           // its callback creates and starts a child (kDestroysItself), then
                             // destroys itself: 1, and 1 for the child
    kStopRacesExpiry,        // started and stopped at once, then destroyed: 0 or 1
    kNeverStarted,           // created and destroyed: 0
};
constexpr int kStories = 7;

struct Record {
    Story story = Story::kNeverStarted;
    std::atomic<int> callbacks{0};
    std::atomic<int> childCallbacks{0};
};

// Shared with the callbacks; they run on the service's callback thread.
struct Soak {
    std::vector<Record> records;
    std::mutex lock;
    std::condition_variable fired;
    std::atomic<size_t> children{0};
};
Soak* gSoak = nullptr;

void Notify() {
    { std::lock_guard<std::mutex> lock(gSoak->lock); }
    gSoak->fired.notify_all();
}

void OnChild(TimerProvider* timer) {
    static_cast<Record*>(timer->p_Context)->childCallbacks++;
    TimerProvider::DestroyTimer(timer);
    Notify();
}

void OnTimer(TimerProvider* timer) {
    auto* record = static_cast<Record*>(timer->p_Context);
    const int n = ++record->callbacks;
    switch (record->story) {
        case Story::kDestroysItself:
            TimerProvider::DestroyTimer(timer);
            break;
        case Story::kRestartsTwice:
            if (n < 3) {
                timer->Start();
            } else {
                TimerProvider::DestroyTimer(timer);
            }
            break;
        case Story::kSpawnsAChild: {
            TimerProvider* child = TimerProvider::CreateNewTimer(kSoonMs, OnChild, record);
            gSoak->children++;
            child->Start();
            TimerProvider::DestroyTimer(timer);
            break;
        }
        default:
            break;
    }
    Notify();
}

// One caller thread's share of the timers.
void RunCaller(size_t first, size_t count) {
    for (size_t i = first; i < first + count; ++i) {
        Record& record = gSoak->records[i];
        switch (record.story) {
            case Story::kStoppedBeforeItFires: {
                TimerProvider* timer = TimerProvider::CreateNewTimer(kNeverMs, OnTimer, &record);
                timer->Start();
                timer->Stop();
                TimerProvider::DestroyTimer(timer);
                break;
            }
            case Story::kOwnerDestroysAfterOne: {
                TimerProvider* timer = TimerProvider::CreateNewTimer(kSoonMs, OnTimer, &record);
                timer->Start();
                std::unique_lock<std::mutex> lock(gSoak->lock);
                gSoak->fired.wait_for(lock, kWait, [&] { return record.callbacks.load() > 0; });
                lock.unlock();
                TimerProvider::DestroyTimer(timer);
                break;
            }
            case Story::kDestroysItself:
            case Story::kRestartsTwice:
            case Story::kSpawnsAChild:
                TimerProvider::CreateNewTimer(kSoonMs, OnTimer, &record)->Start();
                break;
            case Story::kStopRacesExpiry: {
                TimerProvider* timer = TimerProvider::CreateNewTimer(kSoonMs, OnTimer, &record);
                timer->Start();
                timer->Stop();
                TimerProvider::DestroyTimer(timer);
                break;
            }
            case Story::kNeverStarted:
                TimerProvider::DestroyTimer(
                    TimerProvider::CreateNewTimer(kSoonMs, OnTimer, &record));
                break;
        }
    }
}

// Whether every callback a story promises has come.
bool AllPromisedCallbacksCame() {
    for (const Record& r : gSoak->records) {
        switch (r.story) {
            case Story::kOwnerDestroysAfterOne:
            case Story::kDestroysItself:
                if (r.callbacks.load() < 1) return false;
                break;
            case Story::kRestartsTwice:
                if (r.callbacks.load() < 3) return false;
                break;
            case Story::kSpawnsAChild:
                if (r.callbacks.load() < 1 || r.childCallbacks.load() < 1) return false;
                break;
            default:
                break;
        }
    }
    return true;
}

size_t CountLines(const std::string& text, const std::string& line) {
    size_t n = 0;
    for (size_t at = text.find(line); at != std::string::npos; at = text.find(line, at + 1)) ++n;
    return n;
}

TEST(TimerProviderSoak, TenThousandTimersFromFourThreadsAndFromCallbacksEachCallbackOnce) {
    constexpr size_t kThreads = 4;
    // The same count under ASan and TSan: the run waits on 1 ms timers far more than it computes,
    // so sanitizers barely lengthen it.
    constexpr size_t timers = 10000;
    soak::QuietLog quiet;
    // The helper thread some sanitizers start with the first thread of a process, up front.
    std::thread([] {}).join();
    const size_t descriptors = soak::DescriptorCount();
    const size_t threads = soak::ThreadCount();

    Soak state;
    state.records = std::vector<Record>(timers);
    for (size_t i = 0; i < timers; ++i) state.records[i].story = static_cast<Story>(i % kStories);
    gSoak = &state;

    testing::internal::CaptureStdout();
    TimerProvider::Initialize();
    const auto started = std::chrono::steady_clock::now();
    std::vector<std::thread> callers;
    for (size_t t = 0; t < kThreads; ++t) {
        const size_t first = t * timers / kThreads;
        const size_t last = (t + 1) * timers / kThreads;
        callers.emplace_back(RunCaller, first, last - first);
    }
    for (std::thread& caller : callers) caller.join();
    {
        std::unique_lock<std::mutex> lock(state.lock);
        EXPECT_TRUE(state.fired.wait_for(lock, kWait, AllPromisedCallbacksCame));
    }
    // Nothing is armed any more but what a racing stop may have let through: the service ends
    // with every timer destroyed, by its owner, by itself, or by the end of the service.
    TimerProvider::DeInitialize();
    const auto elapsed = std::chrono::steady_clock::now() - started;
    const std::string out = testing::internal::GetCapturedStdout();
    gSoak = nullptr;

    size_t racedThrough = 0;
    for (size_t i = 0; i < timers; ++i) {
        const Record& r = state.records[i];
        SCOPED_TRACE("timer " + std::to_string(i) + ", story " +
                     std::to_string(static_cast<int>(r.story)));
        switch (r.story) {
            case Story::kStoppedBeforeItFires:
            case Story::kNeverStarted:
                EXPECT_EQ(r.callbacks.load(), 0);
                break;
            case Story::kOwnerDestroysAfterOne:
            case Story::kDestroysItself:
                EXPECT_EQ(r.callbacks.load(), 1);
                break;
            case Story::kRestartsTwice:
                EXPECT_EQ(r.callbacks.load(), 3);
                break;
            case Story::kSpawnsAChild:
                EXPECT_EQ(r.callbacks.load(), 1);
                EXPECT_EQ(r.childCallbacks.load(), 1);
                break;
            case Story::kStopRacesExpiry:
                EXPECT_LE(r.callbacks.load(), 1);
                racedThrough += r.callbacks.load();
                break;
        }
        if (r.story != Story::kSpawnsAChild) {
            EXPECT_EQ(r.childCallbacks.load(), 0);
        }
    }
    EXPECT_EQ(CountLines(out, "Destroying timer\n"), timers + state.children.load());
    EXPECT_EQ(soak::DescriptorCount(), descriptors);
    EXPECT_EQ(soak::ThreadCount(), threads);
    RecordProperty("timers", static_cast<int>(timers + state.children.load()));
    RecordProperty("stops_that_lost_the_race", static_cast<int>(racedThrough));
    RecordProperty(
        "milliseconds",
        static_cast<int>(std::chrono::duration_cast<std::chrono::milliseconds>(elapsed).count()));
}

}  // namespace
