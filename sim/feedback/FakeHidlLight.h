// The HIDL lights service of a device (android.hardware.light@2.0::ILight/default), which
// defines the scan LED as light type 8: every setLight is recorded with the thread it came on.
#pragma once

#include <android/hardware/light/2.0/ILight.h>
#include <pthread.h>
#include <stdint.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <ostream>
#include <vector>

namespace orvex {
namespace sim {

// Calls arrive on the caller's thread through the runtime's proxy (the LED module also calls
// from the timer service's callback thread); members are guarded by mMutex.
class FakeHidlLight : public android::hardware::light::V2_0::ILight {
  public:
    using LightState = android::hardware::light::V2_0::LightState;
    using Type = android::hardware::light::V2_0::Type;
    using Status = android::hardware::light::V2_0::Status;

    struct Call {
        int type;
        LightState state;
        pthread_t thread;  // not compared

        bool operator==(const Call& o) const { return type == o.type && state == o.state; }
    };

    // Types 0 to 7 and the scan LED (8).
    FakeHidlLight();

    // A new service registered as "default"; a live one of that name dies first.
    static android::sp<FakeHidlLight> Register();
    // The service is gone for good: lookups answer null at once.
    static void Remove();

    std::vector<Call> Calls() const;
    void ClearCalls();
    // Waits until `count` calls were received in all; false on time-out.
    bool WaitForCalls(size_t count, std::chrono::milliseconds timeout) const;

    // A type the device does not have is refused with LIGHT_NOT_SUPPORTED.
    android::hardware::Return<Status> setLight(Type type, const LightState& state) override;
    android::hardware::Return<void> getSupportedTypes(getSupportedTypes_cb _hidl_cb) override;

  private:
    mutable std::mutex mMutex;
    mutable std::condition_variable mCalled;
    std::vector<int> mTypes;
    std::vector<Call> mCalls;
};

// A state as the LED module sends it: a colour, no flashing, user brightness.
android::hardware::light::V2_0::LightState MakeHidlLightState(uint32_t color);

std::ostream& operator<<(std::ostream& out, const FakeHidlLight::Call& call);

}  // namespace sim
}  // namespace orvex
