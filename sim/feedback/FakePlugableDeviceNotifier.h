// The hardware manager's pluggable-device interface as the simulated device offers it: whether
// an external vibrator is attached, and vibrating it. Each call is recorded as text
// ("vibrateExternal(300)"); attached scanners are not simulated here (no port, no events).
#pragma once

#include <stdint.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IPlugableDeviceNotifier.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IPlugableNotifierCallback.h>

#include <mutex>

#include "Fake.h"

namespace orvex {
namespace sim {

// Calls arrive on the client's threads through the runtime's proxy; the answers are guarded by
// mLock.
class FakePlugableDeviceNotifier
    : public ::vendor::tevrin::hardware::dchwmanager::V1_0::IPlugableDeviceNotifier,
      public Fake {
  public:
    using IPlugableNotifierCallback =
        ::vendor::tevrin::hardware::dchwmanager::V1_0::IPlugableNotifierCallback;

    // Whether a vibrator is attached (initially not), and what vibrateExternal answers
    // (initially 0).
    void SetExternalVibratorPresent(bool present);
    void SetVibrateResult(int32_t result);

    // Keeps the callback; answers 1 (accepted).
    ::android::hardware::Return<uint8_t> registerNotifierCallback(
        const ::android::sp<IPlugableNotifierCallback>& callback, int32_t scannerType) override;
    ::android::hardware::Return<bool> isExternalVibratorPresent() override;
    ::android::hardware::Return<int32_t> vibrateExternal(int32_t duration) override;
    // Status -1: no port is valid.
    ::android::hardware::Return<void> getPortName(getPortName_cb _hidl_cb) override;

    // Drops the registered callback.
    void OnDeath() override;

  private:
    std::mutex mLock;
    bool mVibratorPresent = false;                       // GUARDED_BY(mLock)
    int32_t mVibrateResult = 0;                          // GUARDED_BY(mLock)
    ::android::sp<IPlugableNotifierCallback> mCallback;  // GUARDED_BY(mLock)
};

}  // namespace sim
}  // namespace orvex
