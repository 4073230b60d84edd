// The timer service on real time. Deadlines are far apart compared with the lateness a loaded
// machine shows, and results are checked by order and by lower bounds, never by "within N ms".

#include "TimerProvider.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "TestSupport.h"

namespace {

using Clock = std::chrono::steady_clock;
using orvex::test::AssertionRegex;
using std::chrono::milliseconds;

constexpr const char* kSource = "device/common/platform_bundle/dependencies/Utils/TimerProvider";
constexpr auto kTimeout = std::chrono::seconds(20);

// What the callbacks saw, in order. The context of every timer in a test.
class Recorder {
  public:
    struct Firing {
        TimerProvider* timer;
        Clock::time_point at;
        std::thread::id thread;
        void* context;
    };

    static void OnTimer(TimerProvider* timer) {
        auto* recorder = static_cast<Recorder*>(timer->p_Context);
        {
            std::lock_guard<std::mutex> lock(recorder->mutex_);
            recorder->firings_.push_back(
                {timer, Clock::now(), std::this_thread::get_id(), timer->p_Context});
        }
        recorder->changed_.notify_all();
        if (auto then = recorder->then_.load()) then(timer);
    }

    // Runs on the callback thread after each firing is recorded.
    void Then(void (*action)(TimerProvider*)) { then_ = action; }

    // Waits until `count` firings were recorded; false on time-out.
    bool WaitFor(size_t count) {
        std::unique_lock<std::mutex> lock(mutex_);
        return changed_.wait_for(lock, kTimeout, [&] { return firings_.size() >= count; });
    }

    std::vector<Firing> Firings() {
        std::lock_guard<std::mutex> lock(mutex_);
        return firings_;
    }

  private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::vector<Firing> firings_;
    std::atomic<void (*)(TimerProvider*)> then_{nullptr};
};

class TimerProviderTest : public ::testing::Test {
  protected:
    void SetUp() override { TimerProvider::Initialize(); }
    void TearDown() override { TimerProvider::DeInitialize(); }

    TimerProvider* Create(int intervalMs) {
        return TimerProvider::CreateNewTimer(intervalMs, Recorder::OnTimer, &recorder);
    }

    Recorder recorder;
};

TEST_F(TimerProviderTest, FiresOnceOnTheCallbackThreadAndAgainOnlyAfterTheNextStart) {
    TimerProvider* timer = Create(1500);
    EXPECT_FALSE(timer->IsStarted());
    const Clock::time_point started = Clock::now();
    timer->Start();
    EXPECT_TRUE(timer->IsStarted());
    EXPECT_EQ(1, timer->ts_TimerSpec.it_value.tv_sec);
    EXPECT_EQ(500000000, timer->ts_TimerSpec.it_value.tv_nsec);
    EXPECT_EQ(0, timer->ts_TimerSpec.it_interval.tv_sec);
    EXPECT_EQ(0, timer->ts_TimerSpec.it_interval.tv_nsec);

    ASSERT_TRUE(recorder.WaitFor(1));
    std::vector<Recorder::Firing> firings = recorder.Firings();
    EXPECT_EQ(timer, firings[0].timer);
    EXPECT_EQ(&recorder, firings[0].context);
    EXPECT_NE(std::this_thread::get_id(), firings[0].thread);
    EXPECT_GE(firings[0].at - started, milliseconds(1490));
    EXPECT_FALSE(timer->IsStarted());

    // One-shot: nothing more until the next Start.
    std::this_thread::sleep_for(milliseconds(1700));
    EXPECT_EQ(1u, recorder.Firings().size());
    timer->Start();
    ASSERT_TRUE(recorder.WaitFor(2));
    EXPECT_EQ(timer, recorder.Firings()[1].timer);
}

TEST_F(TimerProviderTest, ExpiryLeavesTheWaitLockSignalledForTheNextRequest) {
    TimerProvider* timer = Create(10);
    timer->Start();
    ASSERT_TRUE(recorder.WaitFor(1));
    // The expiry stopped the timer and signalled; nobody waited. The next Start takes that
    // signal and returns at once, and the timer is armed all the same.
    EXPECT_TRUE(timer->p_WaitLock->IsSignalled());
    timer->Start();
    ASSERT_TRUE(recorder.WaitFor(2));
}

TEST_F(TimerProviderTest, StartOnAStartedTimerKeepsTheFirstDeadline) {
    TimerProvider* restarted = Create(1000);
    TimerProvider* witness = Create(1250);
    restarted->Start();
    witness->Start();
    std::this_thread::sleep_for(milliseconds(500));
    restarted->Start();  // a new deadline would be 1500 ms, after the witness
    ASSERT_TRUE(recorder.WaitFor(2));
    std::vector<Recorder::Firing> firings = recorder.Firings();
    EXPECT_EQ(restarted, firings[0].timer);
    EXPECT_EQ(witness, firings[1].timer);
}

TEST_F(TimerProviderTest, StopDisarmsAndCallbacksRunInExpiryOrder) {
    TimerProvider* stopped = Create(600);
    TimerProvider* late = Create(1500);
    TimerProvider* early = Create(300);
    stopped->Start();
    late->Start();
    early->Start();
    stopped->Stop();
    EXPECT_FALSE(stopped->IsStarted());
    stopped->Stop();  // not started: returns at once
    ASSERT_TRUE(recorder.WaitFor(2));
    std::vector<Recorder::Firing> firings = recorder.Firings();
    ASSERT_EQ(2u, firings.size());
    EXPECT_EQ(early, firings[0].timer);
    EXPECT_EQ(late, firings[1].timer);

    stopped->Start();
    ASSERT_TRUE(recorder.WaitFor(3));
    EXPECT_EQ(stopped, recorder.Firings()[2].timer);
}

TEST_F(TimerProviderTest, CallbackMayRestartItsOwnTimer) {
    TimerProvider* timer = Create(20);
    recorder.Then([](TimerProvider* t) { t->Start(); });
    timer->Start();
    ASSERT_TRUE(recorder.WaitFor(3));
    recorder.Then(nullptr);
}

TEST_F(TimerProviderTest, DestroyFromItsOwnCallbackWaitsUntilTheCallbackReturns) {
    testing::internal::CaptureStdout();
    TimerProvider* timer = Create(10);
    recorder.Then([](TimerProvider* t) {
        TimerProvider::DestroyTimer(t);
        // Give the timer thread time to act on the request; the timer must still be whole.
        std::this_thread::sleep_for(milliseconds(100));
        EXPECT_NE(nullptr, t->p_Context);
        EXPECT_EQ(10, t->n_IntervalMs);
    });
    timer->Start();
    ASSERT_TRUE(recorder.WaitFor(1));
    TimerProvider::DeInitialize();
    EXPECT_EQ("Destroying timer\n", testing::internal::GetCapturedStdout());
}

TEST_F(TimerProviderTest, EndingTheServiceDestroysEveryTimerLeft) {
    testing::internal::CaptureStdout();
    TimerProvider::DestroyTimer(nullptr);
    Create(100000);
    Create(100000)->Start();
    TimerProvider::DestroyTimer(Create(100000));
    TimerProvider::DeInitialize();
    EXPECT_EQ("Destroying timer\nDestroying timer\nDestroying timer\n",
              testing::internal::GetCapturedStdout());
    EXPECT_EQ(-1, TimerProvider::ms_EpollReadFd);
    EXPECT_EQ(-1, TimerProvider::ms_EpollWriteFd);
    EXPECT_EQ(-1, TimerProvider::ms_efd);
    EXPECT_EQ(nullptr, TimerProvider::tq_CallbacktransferQueue);
}

// Writes one raw request, as a caller thread does.
void SendRaw(uint32_t kind, const void* timer) {
    struct {
        uint32_t kind;
        uint32_t zero;
        uint64_t timer;
    } message = {kind, 0, reinterpret_cast<uintptr_t>(timer)};
    ASSERT_EQ(16, write(TimerProvider::ms_EpollWriteFd, &message, sizeof message));
}

TEST_F(TimerProviderTest, LateNewsOfAnUnknownTimerIsIgnored) {
    int stranger = 0;
    SendRaw(4, &stranger);  // callback returned
    SendRaw(4, nullptr);
    TimerProvider* timer = Create(10);
    timer->Start();
    ASSERT_TRUE(recorder.WaitFor(1));
}

TEST(TimerProviderDeathTest, RequestTheTimerThreadCannotHonourEndsTheProcess) {
    struct Case {
        const char* what;
        uint32_t kind;
        bool known;  // a registered timer, or an address the service never saw
        std::string description;
        int line;
    } cases[] = {
        {"unknown kind", 6, true,
         "[TimerProvider::ThreadProc] Unknown message sent to Timer thread 6", 469},
        {"start unknown", 0, false,
         "[TimerProvider::OnStartTimer] Trying to start a timer which is already destroyed", 275},
        {"stop unknown", 1, false, "Trying to stop a timer which is already destroyed", 325},
        {"destroy unknown", 2, false,
         "[TimerProvider::OnDestroyTimer] Trying to destroy a timer which is already destroyed",
         233},
        {"create twice", 3, true, "[TimerProvider::OnCreateTimer] Timer already registered", 224},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_DEATH(
            {
                TimerProvider::Initialize();
                static int stranger;
                TimerProvider* timer = TimerProvider::CreateNewTimer(
                    1000, [](TimerProvider*) {}, nullptr);
                SendRaw(c.kind, c.known ? static_cast<void*>(timer) : &stranger);
                sleep(30);
            },
            AssertionRegex(c.description, kSource, c.line));
    }
}

TEST(TimerProviderDeathTest, DestroyingTwiceEndsTheProcess) {
    EXPECT_DEATH(
        {
            TimerProvider::Initialize();
            TimerProvider* timer = TimerProvider::CreateNewTimer(
                1000, [](TimerProvider*) {}, nullptr);
            TimerProvider::DestroyTimer(timer);
            TimerProvider::DestroyTimer(timer);
            sleep(30);
        },
        AssertionRegex(
            "[TimerProvider::OnDestroyTimer] Trying to destroy a timer which is already destroyed",
            kSource, 233));
}

TEST(TimerProviderDeathTest, DeInitializeFromTheCallbackThreadEndsTheProcess) {
    EXPECT_DEATH(
        {
            TimerProvider::Initialize();
            TimerProvider::CreateNewTimer(
                10, [](TimerProvider*) { TimerProvider::DeInitialize(); }, nullptr)
                ->Start();
            sleep(30);
        },
        AssertionRegex("[TimerProvider::DeInitialize] Deinitialize should not be called from "
                       "the callback thread",
                       kSource, 107));
}

TEST(TimerProviderDeathTest, UnknownCallbackMessageEndsTheProcess) {
    EXPECT_DEATH(
        {
            TimerProvider::Initialize();
            TimerProvider::tq_CallbacktransferQueue->Push(new TimerProvider::Message{7, nullptr});
            sleep(30);
        },
        AssertionRegex("[TimerProvider::CallbackProc] Unknown ID received to the callback proc",
                       kSource, 545));
}

TEST(TimerProviderDeathTest, MissingPipeForRequestsEndsTheProcess) {
    const std::string pipe =
        std::string(getenv("ORVEX_DEVICE_ROOT")) + "/data/local/tmp/sctimerfifo";
    EXPECT_DEATH(
        {
            unlink(pipe.c_str());
            TimerProvider::CreateNewTimer(
                10, [](TimerProvider*) {}, nullptr);
        },
        orvex::test::LiteralRegex(
            " E ScannerFramework: [TimerProvider::InitializeModule] open errno: 2\n") +
            ".*" +
            AssertionRegex(
                "[TimerProvider::InitializeModule] CreateNewTimer error. Timer not initialized",
                kSource, 155));
}

}  // namespace
