// The AIDL lights service of a device (android.hardware.light.ILights/default): a scripted
// list of lights, and every call recorded with what it carried.
#pragma once

#include <android/hardware/light/BnLights.h>
#include <pthread.h>
#include <stdint.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <ostream>
#include <string>
#include <vector>

namespace orvex {
namespace sim {

// Calls arrive on the caller's thread (the LED module also calls from the timer service's
// callback thread); every member is guarded by mMutex.
class FakeAidlLights : public android::hardware::light::BnLights {
  public:
    using HwLight = android::hardware::light::HwLight;
    using HwLightState = android::hardware::light::HwLightState;

    struct Call {
        enum Kind { kGetLights, kSetLightState } kind;
        int32_t id = 0;        // kSetLightState
        HwLightState state;    // kSetLightState
        pthread_t thread = 0;  // the caller's thread; not compared

        bool operator==(const Call& o) const {
            return kind == o.kind && id == o.id && state == o.state;
        }
    };

    // A device's usual list: a notification light (id 0) and the scan LED, type 100 (id 1).
    FakeAidlLights();
    explicit FakeAidlLights(std::vector<HwLight> lights);

    // "android.hardware.light.ILights/default".
    static std::string InstanceName();

    // Declares the instance name and registers the service under it. `remote`: reached as a
    // service of another process, so callers talk to it through the proxy and parcels.
    static android::sp<FakeAidlLights> Register(std::vector<HwLight> lights, bool remote = false);
    static android::sp<FakeAidlLights> Register() { return Register(DefaultLights()); }
    static std::vector<HwLight> DefaultLights();

    void SetLights(std::vector<HwLight> lights);

    std::vector<Call> Calls() const;
    // The states received by setLightState, in order.
    std::vector<Call> SetCalls() const;
    void ClearCalls();
    // Waits until `count` setLightState calls were received in all; false on time-out.
    bool WaitForSetCalls(size_t count, std::chrono::milliseconds timeout) const;

    // An id the service does not offer is refused, as a lights HAL refuses it.
    android::binder::Status setLightState(int32_t id, const HwLightState& state) override;
    android::binder::Status getLights(std::vector<HwLight>* lights) override;

  private:
    size_t SetCallCountLocked() const;

    mutable std::mutex mMutex;
    mutable std::condition_variable mCalled;
    std::vector<HwLight> mLights;
    std::vector<Call> mCalls;
};

std::ostream& operator<<(std::ostream& out, const FakeAidlLights::Call& call);

// A light entry; `type` may be a device type outside the standard ones.
android::hardware::light::HwLight MakeLight(int32_t id, int32_t ordinal, int type);
// A state as the LED module sends it: a colour, no flashing, user brightness.
android::hardware::light::HwLightState MakeLightState(uint32_t color);

}  // namespace sim
}  // namespace orvex
