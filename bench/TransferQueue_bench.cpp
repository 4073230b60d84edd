// Utils::TransferQueue against the usual std::mutex + std::deque + condition-variable queue:
// producers push heap-allocated messages, one consumer pops and releases them until it has all
// of them. Queue<N>_*: N producers.

#include <benchmark/benchmark.h>

#include <condition_variable>
#include <deque>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "TransferQueue.h"

namespace {

constexpr int kMessages = 200000;

struct Message {
    int value;
};

class MutexQueue {
  public:
    void Push(Message* message) {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            queue_.push_back(message);
        }
        available_.notify_one();
    }

    Message* Pop() {
        std::unique_lock<std::mutex> lock(mutex_);
        available_.wait(lock, [this] { return !queue_.empty(); });
        Message* message = queue_.front();
        queue_.pop_front();
        return message;
    }

  private:
    std::mutex mutex_;
    std::condition_variable available_;
    std::deque<Message*> queue_;  // guarded by mutex_
};

using Transfer = Utils::TransferQueue<Message, Utils::DefaultDeAllocator<Message>>;

template <typename Consume, typename Produce>
void RunBatch(int producers, Consume consume, Produce produce) {
    std::thread consumer(consume);
    std::vector<std::thread> threads;
    for (int p = 0; p < producers; ++p) {
        threads.emplace_back([&produce, producers] {
            for (int i = 0; i < kMessages / producers; ++i) produce(new Message{i});
        });
    }
    for (std::thread& t : threads) t.join();
    consumer.join();
}

void Queue_Baseline(benchmark::State& state) {
    const int producers = static_cast<int>(state.range(0));
    for (auto _ : state) {
        MutexQueue queue;
        RunBatch(
            producers,
            [&] {
                for (int received = 0; received < kMessages; ++received) delete queue.Pop();
            },
            [&](Message* m) { queue.Push(m); });
    }
    state.SetItemsProcessed(state.iterations() * kMessages);
}

void Queue_TransferQueue(benchmark::State& state) {
    const int producers = static_cast<int>(state.range(0));
    for (auto _ : state) {
        Transfer queue;
        RunBatch(
            producers,
            [&] {
                for (int received = 0; received < kMessages;) {
                    Message* message = queue.Pop();
                    if (message == nullptr) {
                        queue.GetWaitLock().Wait();
                        continue;
                    }
                    Transfer::Release(message);
                    ++received;
                }
            },
            [&](Message* m) { queue.Push(m); });
    }
    state.SetItemsProcessed(state.iterations() * kMessages);
}

}  // namespace

int main(int argc, char** argv) {
    // One group per producer count, so that each count has its own baseline.
    for (int producers : {1, 4}) {
        const std::string group = "Queue" + std::to_string(producers);
        benchmark::RegisterBenchmark((group + "_Baseline").c_str(), Queue_Baseline)
            ->Arg(producers)
            ->UseRealTime();
        benchmark::RegisterBenchmark((group + "_TransferQueue").c_str(), Queue_TransferQueue)
            ->Arg(producers)
            ->UseRealTime();
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
