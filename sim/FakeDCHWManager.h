// The simulated data-capture hardware manager: hands out whichever sub-interfaces the
// simulation gave it (null for the others) and records each request.
#pragma once

#include <vendor/tevrin/hardware/dchwmanager/1.0/IDCHWManager.h>

#include <mutex>

#include "Fake.h"

namespace orvex {
namespace sim {

namespace dch = ::vendor::tevrin::hardware::dchwmanager::V1_0;

class FakeDCHWManager : public dch::IDCHWManager, public Fake {
  public:
    ::android::hardware::Return<::android::sp<dch::ITrigger>> getTriggerInterface() override;
    ::android::hardware::Return<::android::sp<dch::IImager>> getImager() override;
    ::android::hardware::Return<::android::sp<dch::ISerial>> getSerialInterface() override;
    ::android::hardware::Return<::android::sp<dch::IPlugableDeviceNotifier>>
    getPlugableDeviceNotifier() override;
    ::android::hardware::Return<::android::sp<dch::IBatterySwapHandler>> getBatterySwapHandler()
        override;
    ::android::hardware::Return<::android::sp<dch::ICameraVendorTagProvider>>
    getCameraVendorTagProvider() override;

    // The sub-interfaces handed out; a fake that is also a Fake is told of the death.
    void SetTrigger(const ::android::sp<dch::ITrigger>& trigger);
    void SetImager(const ::android::sp<dch::IImager>& imager);
    void SetSerial(const ::android::sp<dch::ISerial>& serial);
    void SetPlugableDeviceNotifier(const ::android::sp<dch::IPlugableDeviceNotifier>& notifier);
    void SetBatterySwapHandler(const ::android::sp<dch::IBatterySwapHandler>& handler);
    void SetCameraVendorTagProvider(const ::android::sp<dch::ICameraVendorTagProvider>& provider);

    ::android::sp<dch::ITrigger> Trigger() const;
    ::android::sp<dch::IImager> Imager() const;
    ::android::sp<dch::ISerial> Serial() const;
    ::android::sp<dch::IPlugableDeviceNotifier> PlugableDeviceNotifier() const;
    ::android::sp<dch::IBatterySwapHandler> BatterySwapHandler() const;
    ::android::sp<dch::ICameraVendorTagProvider> CameraVendorTagProvider() const;

    // Tells every sub-interface fake that the process died.
    void OnDeath() override;

  private:
    mutable std::mutex mLock;
    ::android::sp<dch::ITrigger> mTrigger;                     // GUARDED_BY(mLock)
    ::android::sp<dch::IImager> mImager;                       // GUARDED_BY(mLock)
    ::android::sp<dch::ISerial> mSerial;                       // GUARDED_BY(mLock)
    ::android::sp<dch::IPlugableDeviceNotifier> mNotifier;     // GUARDED_BY(mLock)
    ::android::sp<dch::IBatterySwapHandler> mBatterySwap;      // GUARDED_BY(mLock)
    ::android::sp<dch::ICameraVendorTagProvider> mVendorTags;  // GUARDED_BY(mLock)
};

}  // namespace sim
}  // namespace orvex
