#include "WaitLock.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>

#include "ThreadState.h"

namespace {

using orvex::test::CurrentThreadId;
using orvex::test::WaitUntilSleeping;

constexpr auto kTimeout = std::chrono::seconds(10);

// A thread that calls Wait() once; constructed, its tid is known.
class Waiter {
  public:
    explicit Waiter(WaitLock& lock) : lock_(lock) {
        thread_ = std::thread([this, &lock] {
            tid_.set_value(CurrentThreadId());
            lock.Wait();
            done_.set_value();
        });
        tid = tid_.get_future().get();
        doneFuture_ = done_.get_future();
    }
    // A waiter left blocked by a failed expectation is signalled free rather than left hanging.
    ~Waiter() {
        while (!Returned(std::chrono::milliseconds(10))) lock_.Signal();
        thread_.join();
    }

    bool Returned(std::chrono::milliseconds within) {
        return doneFuture_.wait_for(within) == std::future_status::ready;
    }

    pid_t tid = 0;

  private:
    WaitLock& lock_;
    std::promise<pid_t> tid_;
    std::promise<void> done_;
    std::future<void> doneFuture_;
    std::thread thread_;
};

TEST(WaitLock, SignalWithoutWaiterIsRememberedOnce) {
    WaitLock lock;
    EXPECT_FALSE(lock.IsSignalled());
    lock.Signal();
    lock.Signal();
    EXPECT_TRUE(lock.IsSignalled());
    {
        Waiter first(lock);
        EXPECT_TRUE(first.Returned(kTimeout));
    }
    EXPECT_FALSE(lock.IsSignalled());

    // Two signals were one: the next wait blocks until the next signal.
    Waiter second(lock);
    ASSERT_TRUE(WaitUntilSleeping(second.tid));
    EXPECT_FALSE(second.Returned(std::chrono::milliseconds(50)));
    lock.Signal();
    EXPECT_TRUE(second.Returned(kTimeout));
    EXPECT_FALSE(lock.IsSignalled());
}

TEST(WaitLock, ResetForgetsAPendingSignal) {
    WaitLock lock;
    lock.Signal();
    lock.Reset();
    EXPECT_FALSE(lock.IsSignalled());
    Waiter waiter(lock);
    ASSERT_TRUE(WaitUntilSleeping(waiter.tid));
    EXPECT_FALSE(waiter.Returned(std::chrono::milliseconds(50)));
    lock.Signal();
    EXPECT_TRUE(waiter.Returned(kTimeout));
}

// The wait is not a loop: of two blocked waiters, the one that finds the signal already taken by
// the other returns as well.
TEST(WaitLock, OneSignalEndsEveryWaitInProgress) {
    WaitLock lock;
    Waiter a(lock);
    Waiter b(lock);
    ASSERT_TRUE(WaitUntilSleeping(a.tid));
    ASSERT_TRUE(WaitUntilSleeping(b.tid));
    lock.Signal();
    EXPECT_TRUE(a.Returned(kTimeout));
    EXPECT_TRUE(b.Returned(kTimeout));
    EXPECT_FALSE(lock.IsSignalled());
}

}  // namespace
