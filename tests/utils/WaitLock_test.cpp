// The wait lock and the transfer queue built on it.

#include "WaitLock.h"

#include <gtest/gtest.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "TransferQueue.h"

namespace {

using std::chrono::milliseconds;
constexpr auto kTimeout = std::chrono::seconds(10);

// Waits until thread `tid` of this process sleeps in the kernel (state 'S', as when blocked on a
// futex), instead of sleeping and hoping; false on time-out.
bool WaitUntilSleeping(pid_t tid) {
    const auto deadline = std::chrono::steady_clock::now() + kTimeout;
    while (std::chrono::steady_clock::now() < deadline) {
        std::ifstream in("/proc/self/task/" + std::to_string(tid) + "/stat");
        std::string stat;
        std::getline(in, stat);
        const size_t close = stat.rfind(')');  // "tid (comm) S ...": the state follows the ')'
        if (close != std::string::npos && close + 2 < stat.size() && stat[close + 2] == 'S') {
            return true;
        }
        std::this_thread::sleep_for(milliseconds(1));
    }
    return false;
}

// A thread that calls Wait() once; constructed, its tid is known. A waiter left blocked by a
// failed expectation is signalled free rather than left hanging.
class Waiter {
  public:
    explicit Waiter(WaitLock& lock) : lock_(lock) {
        thread_ = std::thread([this] {
            tid_.set_value(static_cast<pid_t>(syscall(SYS_gettid)));
            lock_.Wait();
            done_.set_value();
        });
        tid = tid_.get_future().get();
        doneFuture_ = done_.get_future();
    }
    ~Waiter() {
        while (!Returned(milliseconds(10))) lock_.Signal();
        thread_.join();
    }
    bool Returned(milliseconds within) {
        return doneFuture_.wait_for(within) == std::future_status::ready;
    }
    bool Blocked() { return WaitUntilSleeping(tid) && !Returned(milliseconds(50)); }

    pid_t tid = 0;

  private:
    WaitLock& lock_;
    std::promise<pid_t> tid_;
    std::promise<void> done_;
    std::future<void> doneFuture_;
    std::thread thread_;
};

TEST(WaitLock, SignalIsRememberedOnceResetForgetsItAndOneSignalEndsEveryWait) {
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
    {
        Waiter second(lock);  // two signals were one
        ASSERT_TRUE(second.Blocked());
        lock.Signal();
        EXPECT_TRUE(second.Returned(kTimeout));
    }
    EXPECT_FALSE(lock.IsSignalled());
    lock.Signal();
    lock.Reset();
    EXPECT_FALSE(lock.IsSignalled());
    // The wait is not a loop: of two blocked waiters, the one that finds the signal already
    // taken by the other returns as well.
    Waiter a(lock);
    Waiter b(lock);
    ASSERT_TRUE(a.Blocked());
    ASSERT_TRUE(b.Blocked());
    lock.Signal();
    EXPECT_TRUE(a.Returned(kTimeout));
    EXPECT_TRUE(b.Returned(kTimeout));
    EXPECT_FALSE(lock.IsSignalled());
}

struct Item {
    int producer;
    int sequence;
};

// Counts releases and frees nothing, so that queues may hold items that live on the stack.
struct CountingDeAllocator {
    static int released;
    static void DeAllocate(Item*) { ++released; }
};
int CountingDeAllocator::released = 0;

using Queue = Utils::TransferQueue<Item, Utils::DefaultDeAllocator<Item>>;
using CountingQueue = Utils::TransferQueue<Item, CountingDeAllocator>;

TEST(TransferQueue, PopsInOrderAcrossSwapsAndSignalsOnlyAPushIntoAnEmptyProducerQueue) {
    Item a{0, 1}, b{0, 2}, c{0, 3}, d{0, 4}, e{0, 5};
    CountingDeAllocator::released = 0;
    {
        CountingQueue queue;
        WaitLock& wake = queue.GetWaitLock();
        EXPECT_EQ(nullptr, queue.Pop());
        EXPECT_FALSE(wake.IsSignalled());
        queue.Push(&a);
        EXPECT_TRUE(wake.IsSignalled());
        wake.Reset();
        queue.Push(&b);
        queue.Push(&c);
        EXPECT_FALSE(wake.IsSignalled()) << "the producer queue was not empty";
        EXPECT_EQ(&a, queue.Pop());  // swaps: a, b, c are now the consumer's
        queue.Push(&d);
        EXPECT_TRUE(wake.IsSignalled()) << "the producer queue was empty again";
        EXPECT_EQ(&b, queue.Pop());
        queue.Push(&e);
        EXPECT_EQ(&c, queue.Pop());
        EXPECT_EQ(&d, queue.Pop());  // the second swap
        EXPECT_EQ(&e, queue.Pop());
        EXPECT_EQ(nullptr, queue.Pop());
        EXPECT_EQ(nullptr, queue.Pop());
        queue.Push(&a);
        queue.Push(&b);
        CountingQueue::Release(queue.Pop());
        EXPECT_EQ(1, CountingDeAllocator::released);
    }
    EXPECT_EQ(1, CountingDeAllocator::released) << "destruction releases nothing";
}

// Producers racing a consumer that follows the documented loop: nothing lost or reordered per
// producer, and no wake-up missed (a missed one leaves the consumer waiting past the time-out).
TEST(TransferQueue, ConsumerLoopSeesEveryMessageFromConcurrentProducers) {
    constexpr int kProducers = 4;
    constexpr int kPerProducer = 20000;
    Queue queue;
    std::atomic<bool> stop{false};
    std::promise<std::vector<int>> result;
    std::thread consumer([&] {
        std::vector<int> next(kProducers, 0);
        bool ordered = true;
        for (int received = 0; received < kProducers * kPerProducer && !stop;) {
            Item* item = queue.Pop();
            if (item == nullptr) {
                queue.GetWaitLock().Wait();
                continue;
            }
            ordered = ordered && item->sequence == next[item->producer];
            next[item->producer] = item->sequence + 1;
            ++received;
            Queue::Release(item);
        }
        result.set_value(ordered ? next : std::vector<int>(kProducers, -1));
    });
    std::vector<std::thread> producers;
    for (int p = 0; p < kProducers; ++p) {
        producers.emplace_back([&queue, p] {
            for (int i = 0; i < kPerProducer; ++i) queue.Push(new Item{p, i});
        });
    }
    for (std::thread& t : producers) t.join();
    std::future<std::vector<int>> counts = result.get_future();
    const bool finished = counts.wait_for(std::chrono::seconds(30)) == std::future_status::ready;
    if (!finished) {
        stop = true;
        queue.GetWaitLock().Signal();
    }
    consumer.join();
    ASSERT_TRUE(finished) << "the consumer missed a wake-up";
    EXPECT_EQ(std::vector<int>(kProducers, kPerProducer), counts.get());
    while (Item* left = queue.Pop()) Queue::Release(left);
}

}  // namespace
