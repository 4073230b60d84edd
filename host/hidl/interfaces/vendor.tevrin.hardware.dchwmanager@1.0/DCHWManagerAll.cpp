// The proxy of vendor.tevrin.hardware.dchwmanager@1.0::IDCHWManager and its service helpers.

#include <vendor/tevrin/hardware/dchwmanager/1.0/IDCHWManager.h>

#include "Transport.h"

namespace vendor {
namespace tevrin {
namespace hardware {
namespace dchwmanager {
namespace V1_0 {

namespace {

class BpHwDCHWManager : public ::android::hardware::details::BpHw<IDCHWManager> {
  public:
    using BpHw::BpHw;

    ::android::hardware::Return<
        ::android::sp<::vendor::tevrin::hardware::dchwmanager::V1_0::ITrigger>>
    getTriggerInterface() override {
        return call(&IDCHWManager::getTriggerInterface);
    }
    ::android::hardware::Return<
        ::android::sp<::vendor::tevrin::hardware::dchwmanager::V1_0::IImager>>
    getImager() override {
        return call(&IDCHWManager::getImager);
    }
    ::android::hardware::Return<
        ::android::sp<::vendor::tevrin::hardware::dchwmanager::V1_0::ISerial>>
    getSerialInterface() override {
        return call(&IDCHWManager::getSerialInterface);
    }
    ::android::hardware::Return<
        ::android::sp<::vendor::tevrin::hardware::dchwmanager::V1_0::IPlugableDeviceNotifier>>
    getPlugableDeviceNotifier() override {
        return call(&IDCHWManager::getPlugableDeviceNotifier);
    }
    ::android::hardware::Return<
        ::android::sp<::vendor::tevrin::hardware::dchwmanager::V1_0::IBatterySwapHandler>>
    getBatterySwapHandler() override {
        return call(&IDCHWManager::getBatterySwapHandler);
    }
    ::android::hardware::Return<
        ::android::sp<::vendor::tevrin::hardware::dchwmanager::V1_0::ICameraVendorTagProvider>>
    getCameraVendorTagProvider() override {
        return call(&IDCHWManager::getCameraVendorTagProvider);
    }
};

}  // namespace

ORVEX_HIDL_INTERFACE_SUPPORT(IDCHWManager, "vendor.tevrin.hardware.dchwmanager@1.0::IDCHWManager",
                             BpHwDCHWManager)

}  // namespace V1_0
}  // namespace dchwmanager
}  // namespace hardware
}  // namespace tevrin
}  // namespace vendor
