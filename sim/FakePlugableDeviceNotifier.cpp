#include "FakePlugableDeviceNotifier.h"

namespace orvex {
namespace sim {

using ::android::sp;
using ::android::hardware::hidl_string;
using ::android::hardware::Return;
using ::android::hardware::Void;

void FakePlugableDeviceNotifier::SetRegisterResult(uint8_t result) {
    std::lock_guard<std::mutex> lock(mLock);
    mRegisterResult = result;
}

void FakePlugableDeviceNotifier::SetPortName(int8_t status, const std::string& portName) {
    std::lock_guard<std::mutex> lock(mLock);
    mPortStatus = status;
    mPortName = portName;
}

void FakePlugableDeviceNotifier::SetExternalVibratorPresent(bool present) {
    std::lock_guard<std::mutex> lock(mLock);
    mVibratorPresent = present;
}

void FakePlugableDeviceNotifier::SetVibrateResult(int32_t result) {
    std::lock_guard<std::mutex> lock(mLock);
    mVibrateResult = result;
}

bool FakePlugableDeviceNotifier::RaiseConnectionChanged(bool connected, const std::string& portName,
                                                        int8_t scannerType) {
    sp<IPlugableNotifierCallback> callback;
    {
        std::lock_guard<std::mutex> lock(mLock);
        callback = mCallback;
    }
    if (callback == nullptr) return false;
    return callback->OnConnectionChanged(connected, hidl_string(portName), scannerType).isOk();
}

Return<uint8_t> FakePlugableDeviceNotifier::registerNotifierCallback(
    const sp<IPlugableNotifierCallback>& callback, int32_t scannerType) {
    calls().Add("registerNotifierCallback(" + std::string(callback != nullptr ? "cb" : "null") +
                ", " + std::to_string(scannerType) + ")");
    sp<IPlugableNotifierCallback> previous;  // released outside the lock
    std::lock_guard<std::mutex> lock(mLock);
    // A refused registration leaves the earlier one in force.
    if (mRegisterResult != 0) {
        previous = std::move(mCallback);
        mCallback = callback;
    }
    return mRegisterResult;
}

Return<bool> FakePlugableDeviceNotifier::isExternalVibratorPresent() {
    calls().Add("isExternalVibratorPresent()");
    std::lock_guard<std::mutex> lock(mLock);
    return mVibratorPresent;
}

Return<int32_t> FakePlugableDeviceNotifier::vibrateExternal(int32_t duration) {
    calls().Add("vibrateExternal(" + std::to_string(duration) + ")");
    std::lock_guard<std::mutex> lock(mLock);
    return mVibrateResult;
}

Return<void> FakePlugableDeviceNotifier::getPortName(getPortName_cb _hidl_cb) {
    calls().Add("getPortName()");
    int8_t status;
    std::string name;
    {
        std::lock_guard<std::mutex> lock(mLock);
        status = mPortStatus;
        name = mPortName;
    }
    _hidl_cb(status, hidl_string(name));
    return Void();
}

void FakePlugableDeviceNotifier::OnDeath() {
    sp<IPlugableNotifierCallback> dropped;  // released outside the lock
    std::lock_guard<std::mutex> lock(mLock);
    dropped = std::move(mCallback);
}

}  // namespace sim
}  // namespace orvex
