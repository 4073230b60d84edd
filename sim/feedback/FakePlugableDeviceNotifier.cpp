#include "FakePlugableDeviceNotifier.h"

#include <string>

namespace orvex {
namespace sim {

using ::android::sp;
using ::android::hardware::hidl_string;
using ::android::hardware::Return;
using ::android::hardware::Void;

void FakePlugableDeviceNotifier::SetExternalVibratorPresent(bool present) {
    std::lock_guard<std::mutex> lock(mLock);
    mVibratorPresent = present;
}

void FakePlugableDeviceNotifier::SetVibrateResult(int32_t result) {
    std::lock_guard<std::mutex> lock(mLock);
    mVibrateResult = result;
}

Return<uint8_t> FakePlugableDeviceNotifier::registerNotifierCallback(
    const sp<IPlugableNotifierCallback>& callback, int32_t scannerType) {
    calls().Add("registerNotifierCallback(" + std::string(callback != nullptr ? "cb" : "null") +
                ", " + std::to_string(scannerType) + ")");
    std::lock_guard<std::mutex> lock(mLock);
    mCallback = callback;
    return 1;
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
    _hidl_cb(-1, hidl_string(""));
    return Void();
}

void FakePlugableDeviceNotifier::OnDeath() {
    sp<IPlugableNotifierCallback> dropped;  // released outside the lock
    std::lock_guard<std::mutex> lock(mLock);
    dropped = std::move(mCallback);
}

}  // namespace sim
}  // namespace orvex
