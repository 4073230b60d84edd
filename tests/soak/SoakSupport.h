// Shared pieces of the soak and fault-injection suites.
#pragma once

#include <stddef.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "orvex/log_capture.h"

namespace soak {

// Entries of /proc/self/task (threads) and /proc/self/fd (open descriptors) right now.
size_t ThreadCount();
size_t DescriptorCount();

// The log sink while it exists: off, so that thousands of soak lines do not flood ctest's
// output (an in-process capture still sees every record). Restores the sink afterwards.
class QuietLog {
  public:
    QuietLog();
    ~QuietLog();

  private:
    std::unique_ptr<std::string> previous_;
};

// The process's threads and descriptors when made, after the helper thread some sanitizers
// start with a process's first thread, and the time since.
class Baseline {
  public:
    Baseline();
    // Every thread made since is gone, but the runtime's pool threads (two at most, as the
    // scanning service configures them), which stay for the life of the process as libhidl's
    // do; and no descriptor is open that was not open then. Descriptors are compared by number
    // and what they refer to, not counted, so that one an earlier soak left closing late does
    // not hide a new one or count as one.
    void ExpectNothingLeft() const;
    // Checks that nothing is left and reports `figures` and the time since, as properties of the
    // test's report.
    void End(std::initializer_list<std::pair<const char*, size_t>> figures) const;

  private:
    size_t threads_, pool_;
    std::set<std::string> descriptors_;
    std::chrono::steady_clock::time_point started_ = std::chrono::steady_clock::now();
};

// A value that threads change under a lock while others wait for a condition on it: Read runs
// `f` on the value under the lock and returns what it returns, Change does so and then wakes
// the waiters, WaitFor waits up to a minute until `holds` is true of the value (false on
// time-out).
template <typename T>
class Watched {
  public:
    template <typename F>
    auto Read(F f) {
        std::lock_guard<std::mutex> lock(mLock);
        return f(mValue);
    }
    template <typename F>
    void Change(F f) {
        Read(f);
        mChanged.notify_all();
    }
    template <typename P>
    bool WaitFor(P holds) {
        std::unique_lock<std::mutex> lock(mLock);
        return mChanged.wait_for(lock, std::chrono::minutes(1), [&] { return holds(mValue); });
    }

  private:
    std::mutex mLock;
    std::condition_variable mChanged;
    T mValue{};  // GUARDED_BY(mLock)
};

// Records of `log` whose message is `message`; lines of `text` that are `line`.
size_t Count(const std::vector<orvex::hostlog::Entry>& log, const std::string& message);
size_t Count(const std::string& text, const std::string& line);

}  // namespace soak
