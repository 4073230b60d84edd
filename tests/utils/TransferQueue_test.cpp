#include "TransferQueue.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <thread>
#include <vector>

namespace {

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

TEST(TransferQueue, PopOnEmptyQueueReturnsNull) {
    Queue queue;
    EXPECT_EQ(nullptr, queue.Pop());
    EXPECT_EQ(nullptr, queue.Pop());
}

TEST(TransferQueue, MessagesPushedWhileDrainingComeAfterTheNextSwapInOrder) {
    Item a{0, 1}, b{0, 2}, c{0, 3}, d{0, 4}, e{0, 5};
    CountingQueue queue;
    queue.Push(&a);
    queue.Push(&b);
    queue.Push(&c);
    EXPECT_EQ(&a, queue.Pop());  // swaps: a, b, c are now the consumer's
    queue.Push(&d);
    EXPECT_EQ(&b, queue.Pop());
    queue.Push(&e);
    EXPECT_EQ(&c, queue.Pop());
    EXPECT_EQ(&d, queue.Pop());  // the second swap
    EXPECT_EQ(&e, queue.Pop());
    EXPECT_EQ(nullptr, queue.Pop());
}

TEST(TransferQueue, OnlyThePushIntoAnEmptyProducerQueueSignals) {
    Item a{0, 1}, b{0, 2}, c{0, 3};
    CountingQueue queue;
    WaitLock& wake = queue.GetWaitLock();
    EXPECT_FALSE(wake.IsSignalled());
    queue.Push(&a);
    EXPECT_TRUE(wake.IsSignalled());
    wake.Reset();
    queue.Push(&b);
    EXPECT_FALSE(wake.IsSignalled()) << "the producer queue was not empty";
    EXPECT_EQ(&a, queue.Pop());
    // b is on the consumer's side now, so the producer queue is empty again.
    queue.Push(&c);
    EXPECT_TRUE(wake.IsSignalled());
}

TEST(TransferQueue, ReleaseGoesThroughThePolicyAndDestructionReleasesNothing) {
    CountingDeAllocator::released = 0;
    Item kept{0, 1}, popped{0, 2};
    {
        CountingQueue queue;
        queue.Push(&popped);
        queue.Push(&kept);
        CountingQueue::Release(queue.Pop());
        EXPECT_EQ(1, CountingDeAllocator::released);
    }
    EXPECT_EQ(1, CountingDeAllocator::released);
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
        int received = 0;
        bool ordered = true;
        while (received < kProducers * kPerProducer && !stop) {
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
        if (!ordered) next.assign(kProducers, -1);
        result.set_value(next);
    });
    std::vector<std::thread> producers;
    for (int p = 0; p < kProducers; ++p) {
        producers.emplace_back([&queue, p] {
            for (int i = 0; i < kPerProducer; ++i) queue.Push(new Item{p, i});
        });
    }
    for (std::thread& t : producers) t.join();

    std::future<std::vector<int>> counts = result.get_future();
    bool finished = counts.wait_for(std::chrono::seconds(30)) == std::future_status::ready;
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
