// The wait lock and the transfer queue built on it. The lock's pthread set-up calls are replaced
// for this program: each replacement forwards to the C library, records the call while the test
// thread records, and reports a chosen call as failed.

#include "WaitLock.h"

#include <dlfcn.h>
#include <errno.h>
#include <gtest/gtest.h>
#include <pthread.h>
#include <string.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <future>
#include <string>
#include <thread>
#include <vector>

#include "TransferQueue.h"
#include "orvex/log_capture.h"

namespace {

thread_local bool t_recording = false;
thread_local std::vector<std::string> t_calls;
thread_local const void* t_lastAttr = nullptr;
thread_local std::string t_failing;

const char* Which(const void* attr) {
    return attr == nullptr ? " default" : attr == t_lastAttr ? " prepared" : " other";
}
std::string Sharing(int pshared) {
    return pshared == PTHREAD_PROCESS_PRIVATE ? " private"
                                              : pshared == PTHREAD_PROCESS_SHARED ? " shared" : " ?";
}

// Calls the C library's `name`, then records "name detail" and fails it if chosen.
template <typename... A>
int Forward(const char* name, const std::string& detail, A... args) {
    const int result = reinterpret_cast<int (*)(A...)>(dlsym(RTLD_NEXT, name))(args...);
    if (!t_recording) return result;
    t_calls.push_back(name + detail);
    return name == t_failing ? EAGAIN : result;
}

// An attribute object being initialised is the one later calls are expected to be given.
template <typename T>
const char* Prepare(T* attr) {
    if (t_recording) t_lastAttr = attr;
    return "";
}

}  // namespace

// Each replacement: the call, its parameters, what it records after its name, its arguments.
#define REPLACE(call, params, detail, ...) \
    int call params { return Forward(#call, detail, __VA_ARGS__); }

extern "C" {
REPLACE(pthread_mutexattr_init, (pthread_mutexattr_t * a), Prepare(a), a)
REPLACE(pthread_mutexattr_setpshared, (pthread_mutexattr_t * a, int s), Sharing(s) + Which(a), a, s)
REPLACE(pthread_mutex_init, (pthread_mutex_t * m, const pthread_mutexattr_t* a), Which(a), m, a)
REPLACE(pthread_mutexattr_destroy, (pthread_mutexattr_t * a), Which(a), a)
REPLACE(pthread_condattr_init, (pthread_condattr_t * a), Prepare(a), a)
REPLACE(pthread_condattr_setpshared, (pthread_condattr_t * a, int s), Sharing(s) + Which(a), a, s)
REPLACE(pthread_cond_init, (pthread_cond_t * c, const pthread_condattr_t* a), Which(a), c, a)
REPLACE(pthread_condattr_destroy, (pthread_condattr_t * a), Which(a), a)
REPLACE(pthread_mutex_destroy, (pthread_mutex_t * m), "", m)
REPLACE(pthread_cond_destroy, (pthread_cond_t * c), "", c)
}  // extern "C"

namespace {

using std::chrono::milliseconds;
constexpr auto kTimeout = std::chrono::seconds(10);

// Each call of one construction and destruction in order (process-private attributes prepared
// in order, the mutex destroyed first), and what WaitLock logs when that call fails: the rest
// still runs.
TEST(WaitLock, EachSetUpCallInOrderAndEachFailureLoggedWhileTheRestStillRuns) {
    const struct { const char* call; const char* message; } calls[] = {
        {"pthread_mutexattr_init", "[Wait lock] Unable to Iinitialize mutex attribute"},
        {"pthread_mutexattr_setpshared private prepared",
         "[Wait lock] Unable to set privacy for mutex attribute"},
        {"pthread_mutex_init prepared", "[Wait lock] Unable to Iinitialize mutex[WaitLock]"},
        {"pthread_mutexattr_destroy prepared", "[Wait lock] Unable to destroy mutex attribute"},
        {"pthread_condattr_init", "[Wait lock] Unable to Iinitialize condition attribute"},
        {"pthread_condattr_setpshared private prepared",
         "[Wait lock] Unable to set shared status in attribute"},
        {"pthread_cond_init prepared", "[Wait lock] Unable to Iinitialize condition[WaitLock]"},
        {"pthread_condattr_destroy prepared",
         "[Wait lock] Unable to destroy condition variable attribute"},
        {"pthread_mutex_destroy", "[~Wait lock] Unable to destroy mutex[WaitLock]"},
        {"pthread_cond_destroy", "[~Wait lock] Unable to destroy condition[WaitLock]"},
    };
    std::vector<std::string> sequence;
    for (const auto& c : calls) sequence.push_back(c.call);
    const std::string err = ", Error(" + std::to_string(EAGAIN) + ") - " + strerror(EAGAIN) + "\n";
    for (int failing = -1; failing < 10; ++failing) {
        t_failing = failing < 0 ? "" : sequence[failing].substr(0, sequence[failing].find(' '));
        SCOPED_TRACE("failing: " + t_failing);
        std::vector<orvex::hostlog::Entry> expected;
        if (failing >= 0)
            expected.push_back({6, "ScannerFramework", calls[failing].message + err});
        orvex::hostlog::ScopedCapture capture;
        t_calls.clear();
        t_lastAttr = nullptr;
        t_recording = true;
        { WaitLock lock; }
        t_recording = false;
        EXPECT_EQ(sequence, t_calls);
        EXPECT_EQ(expected, capture.Entries());
    }
}

// A thread that calls Wait() once. A waiter left blocked by a failed expectation is signalled
// free rather than left hanging.
class Waiter {
  public:
    explicit Waiter(WaitLock& lock) : lock_(lock) {}
    ~Waiter() {
        while (!Returned(milliseconds(10))) lock_.Signal();
    }
    bool Returned(milliseconds t) { return done_.wait_for(t) == std::future_status::ready; }
    // Asleep in the kernel (state 'S', as when blocked on a futex) and not returned: polled
    // instead of sleeping and hoping.
    bool Blocked() {
        const std::string path = "/proc/self/task/" + std::to_string(tid_.get()) + "/stat";
        for (auto end = std::chrono::steady_clock::now() + kTimeout;
             std::chrono::steady_clock::now() < end; std::this_thread::sleep_for(milliseconds(1))) {
            std::string stat;
            std::getline(std::ifstream(path), stat);
            const size_t close = stat.rfind(')');  // "tid (comm) S ...": the state follows ')'
            if (close != std::string::npos && close + 2 < stat.size() && stat[close + 2] == 'S')
                return !Returned(milliseconds(50));
        }
        return false;
    }

  private:
    WaitLock& lock_;
    std::promise<pid_t> tidSet_;
    std::shared_future<pid_t> tid_ = tidSet_.get_future().share();
    std::future<void> done_ = std::async(std::launch::async, [this] {  // its end joins
        tidSet_.set_value(static_cast<pid_t>(syscall(SYS_gettid)));
        lock_.Wait();
    });
};

TEST(WaitLock, SignalIsRememberedOnceResetForgetsItAndOneSignalEndsEveryWait) {
    WaitLock lock;
    EXPECT_FALSE(lock.IsSignalled());
    lock.Signal();
    lock.Signal();
    EXPECT_TRUE(lock.IsSignalled());
    EXPECT_TRUE(Waiter(lock).Returned(kTimeout));
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
    Waiter a(lock), b(lock);
    ASSERT_TRUE(a.Blocked() && b.Blocked());
    lock.Signal();
    EXPECT_TRUE(a.Returned(kTimeout) && b.Returned(kTimeout));
    EXPECT_FALSE(lock.IsSignalled());
}

struct Item { int producer, sequence; };

// Counts releases and frees nothing, so that queues may hold items that live on the stack.
struct CountingDeAllocator {
    static inline int released = 0;
    static void DeAllocate(Item*) { ++released; }
};

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
        // d and e come with the second swap.
        for (Item* next : {&c, &d, &e, (Item*)nullptr, (Item*)nullptr}) EXPECT_EQ(next, queue.Pop());
        queue.Push(&a);
        queue.Push(&b);
        CountingQueue::Release(queue.Pop());
        EXPECT_EQ(1, CountingDeAllocator::released);
    }
    EXPECT_EQ(1, CountingDeAllocator::released) << "destruction releases nothing";
}

}  // namespace
