// The simulated serial transport to an attached scanner. It answers with scripted statuses,
// records each call with its arguments (bytes as "writeData(12 AB)"), hands out its
// firmware-update port, and delivers bytes the port receives to the callback a client
// registered, as the device's service does.
//
// The service keeps one client callback: a new registration replaces the previous one, and
// death drops it.
//
// Threads: calls arrive on the client's threads. Receive runs on the thread that drives the
// simulation and returns once the client's onSerialData has run; the runtime runs that on one
// of its own threads, never on the caller's.
#pragma once

#include <stdint.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/ISerial.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/ISerialCallback.h>

#include <mutex>
#include <vector>

#include "Fake.h"
#include "FakeSerialFWUpdate.h"

namespace orvex {
namespace sim {

class FakeSerial : public ::vendor::tevrin::hardware::dchwmanager::V1_0::ISerial, public Fake {
  public:
    using ISerialCallback = ::vendor::tevrin::hardware::dchwmanager::V1_0::ISerialCallback;
    using ISerialFWUpdate = ::vendor::tevrin::hardware::dchwmanager::V1_0::ISerialFWUpdate;

    // What the fake answers; statuses are 0 on success.
    struct Answers {
        uint8_t openPort = 0;
        uint8_t closePort = 0;
        uint8_t registerCallback = 0;
        uint8_t ioControl = 0;
        uint8_t writeData = 0;
    };

    // Comes with a firmware-update port of its own.
    FakeSerial();

    void SetAnswers(const Answers& answers);
    Answers GetAnswers() const;

    // The port getSerialFWInterface hands out; null hands out none.
    void SetFirmware(const ::android::sp<FakeSerialFWUpdate>& firmware);
    ::android::sp<FakeSerialFWUpdate> Firmware() const;

    // The port received `bytes`: they go to the registered callback. False when no callback is
    // registered or the call did not reach the client.
    bool Receive(const std::vector<uint8_t>& bytes);

    ::android::hardware::Return<uint8_t> openPort(const ::android::hardware::hidl_string& portName,
                                                  int32_t baudRate, bool flowControl) override;
    ::android::hardware::Return<uint8_t> closePort() override;
    ::android::hardware::Return<uint8_t> registerCallback(
        const ::android::sp<ISerialCallback>& callback) override;
    ::android::hardware::Return<uint8_t> ioControl(int32_t code, int32_t value) override;
    ::android::hardware::Return<uint8_t> writeData(
        const ::android::hardware::hidl_vec<uint8_t>& data) override;
    ::android::hardware::Return<::android::sp<ISerialFWUpdate>> getSerialFWInterface() override;

    // Drops the client's callback and tells the firmware-update port.
    void OnDeath() override;

  private:
    mutable std::mutex mLock;
    Answers mAnswers;                             // GUARDED_BY(mLock)
    ::android::sp<FakeSerialFWUpdate> mFirmware;  // GUARDED_BY(mLock)
    ::android::sp<ISerialCallback> mCallback;     // GUARDED_BY(mLock)
};

}  // namespace sim
}  // namespace orvex
