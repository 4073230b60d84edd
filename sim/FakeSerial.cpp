#include "FakeSerial.h"

#include <string>

namespace orvex {
namespace sim {

using ::android::sp;
using ::android::hardware::hidl_string;
using ::android::hardware::hidl_vec;
using ::android::hardware::Return;

FakeSerial::FakeSerial() : mFirmware(new FakeSerialFWUpdate) {}

void FakeSerial::SetAnswers(const Answers& answers) {
    std::lock_guard<std::mutex> lock(mLock);
    mAnswers = answers;
}

FakeSerial::Answers FakeSerial::GetAnswers() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mAnswers;
}

void FakeSerial::SetFirmware(const sp<FakeSerialFWUpdate>& firmware) {
    std::lock_guard<std::mutex> lock(mLock);
    mFirmware = firmware;
}

sp<FakeSerialFWUpdate> FakeSerial::Firmware() const {
    std::lock_guard<std::mutex> lock(mLock);
    return mFirmware;
}

bool FakeSerial::Receive(const std::vector<uint8_t>& bytes) {
    sp<ISerialCallback> callback;
    {
        std::lock_guard<std::mutex> lock(mLock);
        callback = mCallback;
    }
    if (callback == nullptr) return false;
    return callback->onSerialData(hidl_vec<uint8_t>(bytes)).isOk();
}

Return<uint8_t> FakeSerial::openPort(const hidl_string& portName, int32_t baudRate,
                                     bool flowControl) {
    calls().Add("openPort(" + std::string(portName.c_str()) + ", " + std::to_string(baudRate) +
                ", " + (flowControl ? "true" : "false") + ")");
    return GetAnswers().openPort;
}

Return<uint8_t> FakeSerial::closePort() {
    calls().Add("closePort()");
    return GetAnswers().closePort;
}

Return<uint8_t> FakeSerial::registerCallback(const sp<ISerialCallback>& callback) {
    calls().Add(std::string("registerCallback(") + (callback != nullptr ? "cb" : "null") + ")");
    sp<ISerialCallback> previous;  // released outside the lock
    std::lock_guard<std::mutex> lock(mLock);
    previous = std::move(mCallback);
    mCallback = callback;
    return mAnswers.registerCallback;
}

Return<uint8_t> FakeSerial::ioControl(int32_t code, int32_t value) {
    calls().Add("ioControl(" + std::to_string(code) + ", " + std::to_string(value) + ")");
    return GetAnswers().ioControl;
}

Return<uint8_t> FakeSerial::writeData(const hidl_vec<uint8_t>& data) {
    calls().Add("writeData(" + FormatBytes(data.data(), data.size()) + ")");
    return GetAnswers().writeData;
}

Return<sp<FakeSerial::ISerialFWUpdate>> FakeSerial::getSerialFWInterface() {
    calls().Add("getSerialFWInterface()");
    return sp<ISerialFWUpdate>(Firmware());
}

void FakeSerial::OnDeath() {
    sp<ISerialCallback> dropped;  // released outside the lock
    sp<FakeSerialFWUpdate> firmware;
    {
        std::lock_guard<std::mutex> lock(mLock);
        dropped = std::move(mCallback);
        firmware = mFirmware;
    }
    if (firmware != nullptr) firmware->OnDeath();
}

}  // namespace sim
}  // namespace orvex
