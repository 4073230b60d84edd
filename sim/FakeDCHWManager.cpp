#include "FakeDCHWManager.h"

#include <vector>

namespace orvex {
namespace sim {

using ::android::sp;
using ::android::hardware::Return;

#define ORVEX_FAKE_SLOT(Getter, Type, Member, Setter, Accessor) \
    Return<sp<dch::Type>> FakeDCHWManager::Getter() {           \
        calls().Add(#Getter "()");                              \
        return Accessor();                                      \
    }                                                           \
    void FakeDCHWManager::Setter(const sp<dch::Type>& value) {  \
        std::lock_guard<std::mutex> lock(mLock);                \
        Member = value;                                         \
    }                                                           \
    sp<dch::Type> FakeDCHWManager::Accessor() const {           \
        std::lock_guard<std::mutex> lock(mLock);                \
        return Member;                                          \
    }

ORVEX_FAKE_SLOT(getTriggerInterface, ITrigger, mTrigger, SetTrigger, Trigger)
ORVEX_FAKE_SLOT(getImager, IImager, mImager, SetImager, Imager)
ORVEX_FAKE_SLOT(getSerialInterface, ISerial, mSerial, SetSerial, Serial)
ORVEX_FAKE_SLOT(getPlugableDeviceNotifier, IPlugableDeviceNotifier, mNotifier,
                SetPlugableDeviceNotifier, PlugableDeviceNotifier)
ORVEX_FAKE_SLOT(getBatterySwapHandler, IBatterySwapHandler, mBatterySwap, SetBatterySwapHandler,
                BatterySwapHandler)
ORVEX_FAKE_SLOT(getCameraVendorTagProvider, ICameraVendorTagProvider, mVendorTags,
                SetCameraVendorTagProvider, CameraVendorTagProvider)

#undef ORVEX_FAKE_SLOT

void FakeDCHWManager::OnDeath() {
    std::vector<sp<::android::hidl::base::V1_0::IBase>> parts;
    {
        std::lock_guard<std::mutex> lock(mLock);
        parts = {mTrigger, mImager, mSerial, mNotifier, mBatterySwap, mVendorTags};
    }
    for (const auto& part : parts) {
        if (auto* fake = dynamic_cast<Fake*>(part.get())) fake->OnDeath();
    }
}

}  // namespace sim
}  // namespace orvex
