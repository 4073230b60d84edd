// orvexctl scan: the typical scan on the simulated device, end to end through the library, as
// the scanning service drives it: the hardware trigger delivers a key press, the beep and the
// LED give feedback, and the LED's good-decode timer puts it back to red on the timer service's
// callback thread. Every call the fakes observe is printed as a timeline.

#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <map>
#include <mutex>

#include "FakeTrigger.h"
#include "Json.h"
#include "Platform.h"
#include "PlatformModuleInterfaces.h"
#include "ProbeCommands.h"
#include "SimulatedDevice.h"
#include "Timeline.h"
#include "TimerProvider.h"
#include "feedback/FakeHidlLight.h"

namespace orvexctl {

namespace {

using orvex::sim::Timeline;
using Clock = std::chrono::steady_clock;

constexpr auto kWait = std::chrono::seconds(5);
constexpr int kGoodDecodeMs = 50;
// The trigger key's record as the device's service writes it: type 1 (a key event), the scan
// code, 1 for pressed.
constexpr uint32_t kKeyEvent = 1;
constexpr uint32_t kScanCode = 0x123;

// The scanning service's key-event callback: notes each event on the timeline.
class KeyEvents : public ITriggerKeyEventWrapperCallBack {
public:
    void OnKeyEvent(unsigned int type, unsigned int value) override { Note("OnKeyEvent", type, value); }
    void OnPreKeyEvent(unsigned int type, unsigned int value) override {
        Note("OnPreKeyEvent", type, value);
    }

    bool WaitFor(size_t count) {
        std::unique_lock<std::mutex> lock(mLock);
        return mChanged.wait_for(lock, kWait, [&] { return mCount >= count; });
    }
    Clock::time_point last() {
        std::lock_guard<std::mutex> lock(mLock);
        return mLast;
    }

private:
    void Note(const char* what, unsigned int type, unsigned int value) {
        Timeline::Record("caller", std::string(what) + "(" + std::to_string(type) + ", " +
                                       std::to_string(value) + ")");
        std::lock_guard<std::mutex> lock(mLock);
        mLast = Clock::now();
        ++mCount;
        mChanged.notify_all();
    }

    std::mutex mLock;
    std::condition_variable mChanged;
    size_t mCount = 0;             // GUARDED_BY(mLock)
    Clock::time_point mLast;       // GUARDED_BY(mLock)
};

// The LED may always be used.
class LedAccess : public ICallback {
public:
    bool IsLEDAccessible() override { return true; }
};

void Step(const std::string& what) { Timeline::Record("caller", what); }

}  // namespace

int ProbeScan(const ProbeContext& context, const std::vector<std::string>& args) {
    int presses = 1;
    for (size_t i = 0; i < args.size(); ++i) {
        if (args[i] == "--presses" && i + 1 < args.size()) {
            presses = atoi(args[++i].c_str());
        } else {
            fprintf(stderr, "orvexctl scan: unknown argument %s\n", args[i].c_str());
            return 2;
        }
    }
    if (presses < 1 || presses > 1000) {
        fprintf(stderr, "orvexctl scan: --presses takes 1 to 1000\n");
        return 2;
    }

    // The library's own prints (the timer service announces deferred destruction on standard
    // output) must not mix with the report.
    fflush(stdout);
    const int report = dup(STDOUT_FILENO);
    const int devnull = open("/dev/null", O_WRONLY | O_CLOEXEC);
    dup2(devnull, STDOUT_FILENO);
    close(devnull);

    orvex::sim::SimulatedDevice device;
    device.Start();
    Timeline::Begin();
    std::vector<std::string> problems;
    std::vector<double> latencies;

    TimerProvider::Initialize();
    auto* trigger = static_cast<IHWTriggerModule*>(GetPlatformModule(PLATFORM_MODULE_HW_TRIGGER, "HWTrigger"));
    auto* beep = static_cast<IFeedbackModule*>(GetPlatformModule(PLATFORM_MODULE_BEEP, "HWBeep"));
    auto* led = static_cast<IFeedbackModule*>(GetPlatformModule(PLATFORM_MODULE_LED, "LEDNotification"));
    KeyEvents keys;
    LedAccess access;

    Step("HWTrigger::Initialize");
    if (trigger == nullptr || !trigger->Initialize(&keys)) problems.push_back("HWTrigger Initialize failed");
    Step("HWTrigger::AcquireHWTrigger");
    if (trigger != nullptr && !trigger->AcquireHWTrigger()) problems.push_back("no hardware trigger");
    Step("HWBeep::InitializeFeedback");
    if (beep == nullptr || !beep->InitializeFeedback()) problems.push_back("no beep");
    Step("LEDNotification::InitializeFeedback");
    if (led == nullptr || !led->InitializeFeedback()) problems.push_back("no scan LED");
    if (led != nullptr) {
        led->SetCallback(&access);
        led->SetParameter("decoding_led_feedback", "true");
        led->SetParameter("isRedLedActive", "true");
        led->SetParameter("good_decode_led_timer", std::to_string(kGoodDecodeMs).c_str());
    }

    orvex::sim::FakeTrigger* fake = device.hardwareManager().trigger().get();
    Clock::time_point written;
    std::mutex writtenLock;
    if (fake != nullptr) {
        fake->SetWriteObserver([&](const std::vector<orvex::sim::FakeTrigger::Record>&) {
            std::lock_guard<std::mutex> lock(writtenLock);
            written = Clock::now();
        });
    }
    for (int press = 1; problems.empty() && press <= presses; ++press) {
        Step("press " + std::to_string(press) + ": LEDNotification::PrepareFeedbackForTrigger");
        led->PrepareFeedbackForTrigger();
        Step("press " + std::to_string(press) + ": trigger pressed on the device");
        fake->Press(kKeyEvent, kScanCode, 1);
        if (!keys.WaitFor(static_cast<size_t>(press))) {
            problems.push_back("key event " + std::to_string(press) + " not delivered");
            break;
        }
        {
            std::lock_guard<std::mutex> lock(writtenLock);
            latencies.push_back(std::chrono::duration<double, std::micro>(keys.last() - written).count());
        }
        Step("press " + std::to_string(press) + ": decoded; HWBeep::PrepareFeedbackForTrigger");
        beep->PrepareFeedbackForTrigger();
        Step("press " + std::to_string(press) + ": HWBeep::TriggerFeedback");
        beep->TriggerFeedback();
        orvex::sim::FakeHidlLight* light = device.hidlLight();
        const size_t before = light != nullptr ? light->Calls().size() : 0;
        Step("press " + std::to_string(press) + ": LEDNotification::TriggerFeedback");
        led->TriggerFeedback();
        // Green now, then the good-decode timer puts the LED back on the callback thread.
        if (light != nullptr && !light->WaitForCalls(before + 2, kWait)) {
            problems.push_back("the good-decode timer did not reset the LED");
        }
        fake->WaitIdle(kWait);
    }

    Step("release");
    if (trigger != nullptr) trigger->ReleaseHWTrigger();
    DeletePlatformModule(trigger);
    DeletePlatformModule(beep);
    DeletePlatformModule(led);
    TimerProvider::DeInitialize();
    Timeline::End();

    fflush(stdout);
    dup2(report, STDOUT_FILENO);
    close(report);

    const std::vector<Timeline::Event> events = Timeline::Events();
    std::map<std::string, int> perService;
    std::map<int, std::string> threadNames;
    const int caller = static_cast<int>(syscall(SYS_gettid));
    for (const auto& e : events) {
        if (e.service != "caller") ++perService[e.service];
    }
    auto threadName = [&](int tid) {
        if (tid == caller) return std::string("caller");
        auto it = threadNames.find(tid);
        if (it == threadNames.end()) {
            it = threadNames.emplace(tid, "thread-" + std::to_string(threadNames.size() + 1)).first;
        }
        return it->second;
    };
    std::vector<double> sorted = latencies;
    std::sort(sorted.begin(), sorted.end());
    const double p50 = sorted.empty() ? 0 : sorted[sorted.size() / 2];
    const double worst = sorted.empty() ? 0 : sorted.back();

    if (context.json) {
        Json doc = {{"command", "scan"}, {"ok", problems.empty()}, {"device", context.deviceLabel},
                    {"presses", presses}, {"timeline", Json::array()}};
        for (const auto& e : events) {
            doc["timeline"].push_back({{"ms", e.ms}, {"thread", threadName(e.thread)},
                                       {"service", e.service}, {"call", e.call}});
        }
        doc["summary"] = {{"keyEvents", static_cast<int>(latencies.size())},
                          {"keyEventLatencyUsP50", p50},
                          {"keyEventLatencyUsMax", worst},
                          {"callsPerService", Json::object()}};
        for (const auto& s : perService) doc["summary"]["callsPerService"][s.first] = s.second;
        doc["problems"] = problems;
        printf("%s\n", Document(doc).c_str());
        return problems.empty() ? 0 : 1;
    }

    printf("device: %s\n\n%10s  %-9s %-22s %s\n", context.deviceLabel.c_str(), "ms", "thread",
           "service", "call");
    for (const auto& e : events) {
        printf("%10.3f  %-9s %-22s %s\n", e.ms, threadName(e.thread).c_str(), e.service.c_str(),
               e.call.c_str());
    }
    printf("\nkey events delivered: %zu of %d; latency from the service's write to OnKeyEvent: "
           "p50 %.0f us, max %.0f us\n",
           latencies.size(), presses, p50, worst);
    printf("calls per service:");
    for (const auto& s : perService) printf(" %s %d;", s.first.c_str(), s.second);
    printf("\n");
    for (const std::string& p : problems) printf("problem: %s\n", p.c_str());
    return problems.empty() ? 0 : 1;
}

}  // namespace orvexctl
