// The hardware manager's pluggable-device interface as the simulated device offers it: the
// callback a client registers for one scanner type, connection changes of attached scanners
// raised to that callback, the current port name, and the external vibrator. Each call is
// recorded as text ("registerNotifierCallback(cb, 2)", "vibrateExternal(300)").
//
// The service keeps one client callback: a new registration replaces the previous one, and
// death drops it. Until told otherwise no port is valid (getPortName answers -1 and "").
//
// Threads: calls arrive on the client's threads. RaiseConnectionChanged runs on the thread
// that drives the simulation and returns once the client's OnConnectionChanged has run; the
// runtime runs that on one of its own threads, never on the caller's.
#pragma once

#include <stdint.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IPlugableDeviceNotifier.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IPlugableNotifierCallback.h>

#include <mutex>
#include <string>

#include "Fake.h"

namespace orvex {
namespace sim {

class FakePlugableDeviceNotifier
    : public ::vendor::tevrin::hardware::dchwmanager::V1_0::IPlugableDeviceNotifier,
      public Fake {
  public:
    using IPlugableNotifierCallback =
        ::vendor::tevrin::hardware::dchwmanager::V1_0::IPlugableNotifierCallback;

    // What registerNotifierCallback answers (initially 1, accepted).
    void SetRegisterResult(uint8_t result);
    // What getPortName answers (initially -1 and "").
    void SetPortName(int8_t status, const std::string& portName);
    // Whether a vibrator is attached (initially not), and what vibrateExternal answers
    // (initially 0).
    void SetExternalVibratorPresent(bool present);
    void SetVibrateResult(int32_t result);

    // A scanner was attached (`connected`) or removed: the registered callback hears it. False
    // when no callback is registered or the call did not reach the client.
    bool RaiseConnectionChanged(bool connected, const std::string& portName, int8_t scannerType);

    // Keeps the callback (null included) and answers the set result.
    ::android::hardware::Return<uint8_t> registerNotifierCallback(
        const ::android::sp<IPlugableNotifierCallback>& callback, int32_t scannerType) override;
    ::android::hardware::Return<bool> isExternalVibratorPresent() override;
    ::android::hardware::Return<int32_t> vibrateExternal(int32_t duration) override;
    ::android::hardware::Return<void> getPortName(getPortName_cb _hidl_cb) override;

    // Drops the registered callback.
    void OnDeath() override;

  private:
    mutable std::mutex mLock;
    uint8_t mRegisterResult = 1;                         // GUARDED_BY(mLock)
    int8_t mPortStatus = -1;                             // GUARDED_BY(mLock)
    std::string mPortName;                               // GUARDED_BY(mLock)
    bool mVibratorPresent = false;                       // GUARDED_BY(mLock)
    int32_t mVibrateResult = 0;                          // GUARDED_BY(mLock)
    ::android::sp<IPlugableNotifierCallback> mCallback;  // GUARDED_BY(mLock)
};

}  // namespace sim
}  // namespace orvex
