#include "FakeSerialFWUpdate.h"

namespace orvex {
namespace sim {

using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;
using ::android::hardware::Void;

std::string FormatBytes(const uint8_t* data, size_t size) {
    static const char kDigits[] = "0123456789ABCDEF";
    std::string out;
    for (size_t i = 0; i < size; ++i) {
        if (i > 0) out += ' ';
        out += kDigits[data[i] >> 4];
        out += kDigits[data[i] & 0xF];
    }
    return out;
}

void FakeSerialFWUpdate::SetAnswers(const Answers& answers) {
    std::lock_guard<std::mutex> lock(mLock);
    mAnswers = answers;
}

FakeSerialFWUpdate::Answers FakeSerialFWUpdate::GetAnswers() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mAnswers;
}

Return<uint8_t> FakeSerialFWUpdate::fwOpen(const hidl_string& portName) {
    calls().Add("fwOpen(" + std::string(portName.c_str()) + ")");
    return GetAnswers().fwOpen;
}

Return<uint8_t> FakeSerialFWUpdate::fwClose() {
    calls().Add("fwClose()");
    return GetAnswers().fwClose;
}

Return<uint8_t> FakeSerialFWUpdate::fwIoctl(int32_t request, int32_t value, uint8_t flag) {
    calls().Add("fwIoctl(" + std::to_string(request) + ", " + std::to_string(value) + ", " +
                std::to_string(flag) + ")");
    return GetAnswers().fwIoctl;
}

Return<int32_t> FakeSerialFWUpdate::fwPoll() {
    calls().Add("fwPoll()");
    return GetAnswers().fwPoll;
}

Return<uint8_t> FakeSerialFWUpdate::fwWrite(int32_t length, const hidl_vec<uint8_t>& data) {
    calls().Add("fwWrite(" + std::to_string(length) + ", " + FormatBytes(data.data(), data.size()) +
                ")");
    return GetAnswers().fwWrite;
}

Return<void> FakeSerialFWUpdate::fwRead(fwRead_cb _hidl_cb) {
    calls().Add("fwRead()");
    Answers answers = GetAnswers();
    _hidl_cb(answers.readOk, hidl_vec<uint8_t>(answers.readData));
    return Void();
}

}  // namespace sim
}  // namespace orvex
