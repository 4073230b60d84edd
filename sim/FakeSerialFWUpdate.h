// The simulated firmware-update port of an attached device, handed out by the simulated serial
// transport. It answers with scripted values and records each call with its arguments, bytes
// written as upper-case hexadecimal pairs ("fwWrite(2, 12 AB)").
//
// Threads: calls arrive on the client's threads; the answers are guarded by mLock.
#pragma once

#include <stdint.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/ISerialFWUpdate.h>

#include <mutex>
#include <string>
#include <vector>

#include "Fake.h"

namespace orvex {
namespace sim {

// "12 AB": how the serial fakes record bytes.
std::string FormatBytes(const uint8_t* data, size_t size);

class FakeSerialFWUpdate : public ::vendor::tevrin::hardware::dchwmanager::V1_0::ISerialFWUpdate,
                           public Fake {
  public:
    // What the fake answers; statuses are 0 on success.
    struct Answers {
        uint8_t fwOpen = 0;
        uint8_t fwClose = 0;
        uint8_t fwIoctl = 0;
        int32_t fwPoll = 0;
        uint8_t fwWrite = 0;
        bool readOk = true;
        std::vector<uint8_t> readData;
    };

    void SetAnswers(const Answers& answers);
    Answers GetAnswers() const;

    ::android::hardware::Return<uint8_t> fwOpen(
        const ::android::hardware::hidl_string& portName) override;
    ::android::hardware::Return<uint8_t> fwClose() override;
    ::android::hardware::Return<uint8_t> fwIoctl(int32_t request, int32_t value,
                                                 uint8_t flag) override;
    ::android::hardware::Return<int32_t> fwPoll() override;
    ::android::hardware::Return<uint8_t> fwWrite(
        int32_t length, const ::android::hardware::hidl_vec<uint8_t>& data) override;
    ::android::hardware::Return<void> fwRead(fwRead_cb _hidl_cb) override;

  private:
    mutable std::mutex mLock;
    Answers mAnswers;  // GUARDED_BY(mLock)
};

}  // namespace sim
}  // namespace orvex
