// What the rows of the service-death table share: the row itself, the outcomes a row can end
// in, and the ways a row makes a service die and waits for what follows. The table is one table
// of module x point; each module family keeps its rows in a file of its own and hands them over
// through the functions at the end.
//
// "Dies" means the service's process dies. "Came back" means a new instance is registered
// under the same name (as the service manager restarts it); "for good" means the name is no
// longer declared, so lookups answer null at once. Deaths inside a call are made by fakes that
// kill their own registration and fail that call with DEAD_OBJECT, as a binder call to a
// process that dies while serving it fails.
#pragma once

#include <hidl/Status.h>
#include <orvex/hidl_registry.h>
#include <stdio.h>
#include <unistd.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IDCHWManager.h>

#include <chrono>
#include <string>
#include <thread>
#include <vector>

#include "FeedbackTestEnv.h"
#include "orvex/log_capture.h"

namespace service_death {

using feedback_test::ChildChecks;
using feedback_test::Entry;

// The longest a row waits for something another thread does before it fails.
constexpr auto kWait = std::chrono::seconds(30);

// What the HIDL runtime writes when a value is read from a call that reached a dead service.
constexpr const char* kCheckedRetrieval =
    "Attempted to retrieve value from failed HIDL call: Status\\(EX_TRANSACTION_FAILED\\): "
    "'DEAD_OBJECT";

enum class Outcome { kFalse, kFixedResult, kReconnects, kProcessEnds };

inline const char* OutcomeName(Outcome o) {
    switch (o) {
        case Outcome::kFalse:
            return "False";
        case Outcome::kFixedResult:
            return "FixedResult";
        case Outcome::kReconnects:
            return "Reconnects";
        case Outcome::kProcessEnds:
            return "ProcessEnds";
    }
    return "";
}

// One point of one module's sequence. `run` runs in a fresh process; for kProcessEnds it must
// not return, for the others it records its mismatches in the checks.
struct Row {
    const char* name;  // Module_Point
    Outcome outcome;
    void (*run)(ChildChecks&);
};

// The answer of a call whose service died while serving it.
template <typename R>
::android::hardware::Return<R> DeadObject() {
    return ::android::hardware::Return<R>(
        ::android::hardware::Status::fromStatusT(::android::DEAD_OBJECT));
}

// The hardware manager's process dies, with every interface it handed out.
inline void KillManager() {
    orvex::hidl::KillService(vendor::tevrin::hardware::dchwmanager::V1_0::IDCHWManager::descriptor,
                             "default");
}

// Waits (bounded) until the capture holds this line.
inline bool WaitForLine(const orvex::hostlog::ScopedCapture& log, const Entry& line) {
    const auto deadline = std::chrono::steady_clock::now() + kWait;
    while (std::chrono::steady_clock::now() < deadline) {
        if (log.Contains(line.priority, line.tag, line.message)) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return false;
}

// For rows that must end the process from another thread: if that does not happen in time,
// the row fails.
[[noreturn]] inline void AwaitTheEnd() {
    std::this_thread::sleep_for(kWait);
    fputs("the process went on\n", stderr);
    _exit(1);
}

inline size_t CountLines(const orvex::hostlog::ScopedCapture& log, const std::string& message) {
    size_t n = 0;
    for (const Entry& e : log.Entries()) n += e.message == message;
    return n;
}

// Compares the calls a fake recorded, naming both lists on a mismatch.
inline void SameCalls(ChildChecks& c, const std::string& what,
                      const std::vector<std::string>& actual,
                      const std::vector<std::string>& expected) {
    if (actual == expected) return;
    auto join = [](const std::vector<std::string>& calls) {
        std::string text;
        for (const std::string& call : calls) text += (text.empty() ? "" : ", ") + call;
        return "[" + text + "]";
    };
    c.True((what + ": got " + join(actual) + ", expected " + join(expected)).c_str(), false);
}

// The rows of the beep, LED, external haptic and hardware trigger modules and the device facts.
std::vector<Row> FeedbackRows();
// The rows of the serial, pluggable-device, battery-swap and camera vendor tag modules.
std::vector<Row> TransportRows();
// The rows of the imager module, its control object and the V4L2 adapter with its frames.
std::vector<Row> ImagingRows();

}  // namespace service_death
