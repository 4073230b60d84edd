// The simulated imager control: answers each raw command with the reply scripted for exactly
// those command bytes, or with the default reply, and the settle count with a scripted status.
// Calls are recorded with the command bytes in hex: "sendCommand([1b 02], 2, 64, 0, 0)".
//
// Threads: calls arrive on the client's threads; nothing runs on its own.
#pragma once

#include <stdint.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IImagerControl.h>

#include <map>
#include <mutex>
#include <vector>

#include "Fake.h"

namespace orvex {
namespace sim {

class FakeImagerControl : public ::vendor::tevrin::hardware::dchwmanager::V1_0::IImagerControl,
                          public Fake {
  public:
    struct Reply {
        int8_t status = 0;
        std::vector<uint8_t> bytes;
    };

    // The reply to a command of exactly these bytes.
    void SetReply(const std::vector<uint8_t>& command, const Reply& reply);
    // The reply to every other command; status 0 and no bytes unless set.
    void SetDefaultReply(const Reply& reply);
    // The status configureSettleCount answers; 1 unless set.
    void SetSettleCountStatus(int8_t status);

    // IImagerControl.
    ::android::hardware::Return<void> sendCommand(
        const ::android::hardware::hidl_vec<uint8_t>& command, uint32_t commandLength,
        uint32_t arg1, uint32_t arg2, uint32_t arg3, sendCommand_cb _hidl_cb) override;
    ::android::hardware::Return<int8_t> configureSettleCount(uint32_t settleCount) override;

  private:
    mutable std::mutex mLock;
    std::map<std::vector<uint8_t>, Reply> mReplies;  // GUARDED_BY(mLock)
    Reply mDefaultReply;                             // GUARDED_BY(mLock)
    int8_t mSettleCountStatus = 1;                   // GUARDED_BY(mLock)
};

}  // namespace sim
}  // namespace orvex
