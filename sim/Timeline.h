// One timeline of the calls every fake service receives, for end-to-end runs: when it is
// active, each recorded call also lands here with the time since Begin() and the thread that
// made it. Inactive (the default), recording costs one atomic load.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace orvex {
namespace sim {

class Timeline {
public:
    struct Event {
        double ms;            // since Begin()
        int thread;           // kernel thread id of the caller
        std::string service;  // "ITrigger", "IHardwareBeepConfigs", "caller", ...
        std::string call;     // "startBeep()", "OnKeyEvent(1, 2)", ...
    };

    using Listener = std::function<void(const Event& event)>;

    // Starts a new timeline (forgetting the previous one).
    static void Begin();
    // Starts a new timeline whose events go to `listener` as they happen, on the recording
    // thread, instead of being kept: a device that lives as long as its process would otherwise
    // grow without end. The listener must not record or call into a fake.
    static void Begin(Listener listener);
    static void End();
    static bool Active();

    static void Record(const std::string& service, const std::string& call);
    static std::vector<Event> Events();
};

}  // namespace sim
}  // namespace orvex
