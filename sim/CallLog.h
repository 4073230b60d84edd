// The record of the calls a fake service received, each as text: the method name and its
// arguments, "simulateTrigger(3, 4)". Thread-safe; tests wait on it with a time-out.
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

namespace orvex {
namespace sim {

class CallLog {
  public:
    void Add(std::string call);
    std::vector<std::string> Calls() const;
    // Calls whose method name (text before the parenthesis) is `method`.
    size_t Count(const std::string& method) const;
    void Clear();

    // Waits until `method` has been called `times` times in all; false on time-out.
    bool WaitFor(const std::string& method, size_t times = 1,
                 std::chrono::milliseconds timeout = std::chrono::seconds(10)) const;

  private:
    size_t CountLocked(const std::string& method) const;

    mutable std::mutex mLock;
    mutable std::condition_variable mChanged;
    std::vector<std::string> mCalls;  // GUARDED_BY(mLock)
};

}  // namespace sim
}  // namespace orvex
