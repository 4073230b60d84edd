#include "FakeImagerControl.h"

#include <stdio.h>

#include <string>

namespace orvex {
namespace sim {

using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hardware::Void;

namespace {

std::string Hex(const hidl_vec<uint8_t>& bytes) {
    std::string text = "[";
    char byte[4];
    for (size_t i = 0; i < bytes.size(); ++i) {
        snprintf(byte, sizeof(byte), i == 0 ? "%02x" : " %02x", bytes[i]);
        text += byte;
    }
    return text + "]";
}

}  // namespace

void FakeImagerControl::SetReply(const std::vector<uint8_t>& command, const Reply& reply) {
    std::lock_guard<std::mutex> lock(mLock);
    mReplies[command] = reply;
}

void FakeImagerControl::SetDefaultReply(const Reply& reply) {
    std::lock_guard<std::mutex> lock(mLock);
    mDefaultReply = reply;
}

void FakeImagerControl::SetSettleCountStatus(int8_t status) {
    std::lock_guard<std::mutex> lock(mLock);
    mSettleCountStatus = status;
}

Return<void> FakeImagerControl::sendCommand(const hidl_vec<uint8_t>& command,
                                            uint32_t commandLength, uint32_t arg1, uint32_t arg2,
                                            uint32_t arg3, sendCommand_cb _hidl_cb) {
    calls().Add("sendCommand(" + Hex(command) + ", " + std::to_string(commandLength) + ", " +
                std::to_string(arg1) + ", " + std::to_string(arg2) + ", " + std::to_string(arg3) +
                ")");
    Reply reply;
    {
        std::lock_guard<std::mutex> lock(mLock);
        auto it = mReplies.find(std::vector<uint8_t>(command.begin(), command.end()));
        reply = it != mReplies.end() ? it->second : mDefaultReply;
    }
    _hidl_cb(reply.status, hidl_vec<uint8_t>(reply.bytes));
    return Void();
}

Return<int8_t> FakeImagerControl::configureSettleCount(uint32_t settleCount) {
    calls().Add("configureSettleCount(" + std::to_string(settleCount) + ")");
    std::lock_guard<std::mutex> lock(mLock);
    return mSettleCountStatus;
}

}  // namespace sim
}  // namespace orvex
