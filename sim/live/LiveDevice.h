// The simulated device as a live handheld inside the process that carries it: the device of
// one profile, what a page shows of it (LED, beep, vibrator, trigger keys, serial scanner,
// imager, services), every call it sees as a numbered event, and the operations a user drives it
// with. The HTTP server is one client of it; tests drive it directly.
//
// Threads: operations come from any thread (server workers, tests) and are serialised by
// mDeviceLock, since the hardware manager is driven by one thread at a time. Calls are noted on
// the thread that made them (the timeline's listener). A publisher thread turns changes into
// state documents for the event stream.
#pragma once

#include <stdint.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "EventHub.h"
#include "FrameImage.h"
#include "SimulatedDevice.h"
#include "Timeline.h"

namespace orvex {
namespace sim {

class FakeHardwareBeep;
class FakeHidlLight;
class FakeImagerAdapter;

class LiveDevice {
  public:
    // An operation's answer: 200 with a body, or 4xx with {"error": ...}.
    struct Result {
        int status;
        nlohmann::json body;
    };

    // The device root (ORVEX_DEVICE_ROOT) must be in place; `profile` is only the name shown.
    explicit LiveDevice(std::string profile);
    // Stops the publisher; the services stay registered until the device is destroyed.
    ~LiveDevice();
    LiveDevice(const LiveDevice&) = delete;
    LiveDevice& operator=(const LiveDevice&) = delete;

    // Starts the profile's services and the event timeline.
    void Start();
    // Ends the event stream: readers return, the publisher stops. Idempotent.
    void Stop();

    nlohmann::json State();

    // action "press" or "release"; no key: the main trigger.
    Result Trigger(const std::string& action, std::optional<int64_t> key);
    Result Kill(const std::string& service);
    Result Restart(const std::string& service);
    Result Plug(bool plugged);
    Result SerialData(const std::string& bytes);
    // Null goes back to the device's own pattern.
    Result ShowImage(std::shared_ptr<FrameImage> image);

    EventHub& events() { return mEvents; }
    SimulatedDevice& device() { return mDevice; }
    const std::vector<uint32_t>& keys() const { return mKeys; }
    uint32_t mainKey() const { return mKeys.empty() ? 0 : mKeys.front(); }

  private:
    static Result Error(int status, const std::string& message);
    void OnCall(const Timeline::Event& event);
    void PublishLoop();
    nlohmann::json StateLocked();
    FakeImagerAdapter* AdapterLocked();
    // Makes `adapter`'s frames show mImage (the device's pattern when null).
    void PaintLocked(FakeImagerAdapter* adapter);

    const std::string mProfile;
    std::vector<uint32_t> mKeys;  // set by Start
    EventHub mEvents;

    std::mutex mDeviceLock;
    SimulatedDevice mDevice;                        // GUARDED_BY(mDeviceLock) once started
    ::android::sp<FakeHardwareBeep> mBeep;          // GUARDED_BY(mDeviceLock): the live instance
    ::android::sp<FakeHidlLight> mLight;            // GUARDED_BY(mDeviceLock): the live instance
    std::vector<uint32_t> mPressed;                 // GUARDED_BY(mDeviceLock)
    bool mPlugged = false;                          // GUARDED_BY(mDeviceLock)
    uint64_t mBytesSent = 0;                        // GUARDED_BY(mDeviceLock)
    std::shared_ptr<FrameImage> mImage;             // GUARDED_BY(mDeviceLock)

    // Noted from calls as they happen; guarded by mNoteLock.
    std::mutex mNoteLock;
    uint64_t mLastBeepSeq = 0;
    int64_t mLastVibration = -1;  // ms, -1 before any
    std::chrono::steady_clock::time_point mVibrationEnd;

    std::atomic<bool> mStopping{false};
    std::thread mPublisher;
};

}  // namespace sim
}  // namespace orvex
