#include "Timeline.h"

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <mutex>

namespace orvex {
namespace sim {

namespace {

struct State {
    std::atomic<bool> active{false};
    std::mutex lock;
    std::chrono::steady_clock::time_point start;  // GUARDED_BY(lock)
    std::vector<Timeline::Event> events;          // GUARDED_BY(lock)
    Timeline::Listener listener;                  // GUARDED_BY(lock)
};

State& TheState() {
    static State* state = new State;  // fakes may record while the process exits
    return *state;
}

}  // namespace

void Timeline::Begin() { Begin(nullptr); }

void Timeline::Begin(Listener listener) {
    State& s = TheState();
    std::lock_guard<std::mutex> lock(s.lock);
    s.events.clear();
    s.listener = std::move(listener);
    s.start = std::chrono::steady_clock::now();
    s.active = true;
}

void Timeline::End() { TheState().active = false; }

bool Timeline::Active() { return TheState().active; }

void Timeline::Record(const std::string& service, const std::string& call) {
    State& s = TheState();
    if (!s.active) return;
    const auto now = std::chrono::steady_clock::now();
    const int thread = static_cast<int>(syscall(SYS_gettid));
    std::lock_guard<std::mutex> lock(s.lock);
    const double ms = std::chrono::duration<double, std::milli>(now - s.start).count();
    // Under the lock, so that listeners see events in the order of their times.
    if (s.listener) {
        s.listener(Event{ms, thread, service, call});
    } else {
        s.events.push_back(Event{ms, thread, service, call});
    }
}

std::vector<Timeline::Event> Timeline::Events() {
    State& s = TheState();
    std::lock_guard<std::mutex> lock(s.lock);
    return s.events;
}

}  // namespace sim
}  // namespace orvex
