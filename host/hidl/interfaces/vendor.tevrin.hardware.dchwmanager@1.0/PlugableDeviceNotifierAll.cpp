// The proxy of vendor.tevrin.hardware.dchwmanager@1.0::IPlugableDeviceNotifier and its service
// helpers.

#include <vendor/tevrin/hardware/dchwmanager/1.0/IPlugableDeviceNotifier.h>

#include "Transport.h"

namespace vendor {
namespace tevrin {
namespace hardware {
namespace dchwmanager {
namespace V1_0 {

namespace {

class BpHwPlugableDeviceNotifier
    : public ::android::hardware::details::BpHw<IPlugableDeviceNotifier> {
  public:
    using BpHw::BpHw;

    ::android::hardware::Return<uint8_t> registerNotifierCallback(
        const ::android::sp<
            ::vendor::tevrin::hardware::dchwmanager::V1_0::IPlugableNotifierCallback>& callback,
        int32_t scannerType) override {
        return call(&IPlugableDeviceNotifier::registerNotifierCallback, callback, scannerType);
    }
    ::android::hardware::Return<bool> isExternalVibratorPresent() override {
        return call(&IPlugableDeviceNotifier::isExternalVibratorPresent);
    }
    ::android::hardware::Return<int32_t> vibrateExternal(int32_t duration) override {
        return call(&IPlugableDeviceNotifier::vibrateExternal, duration);
    }
    ::android::hardware::Return<void> getPortName(getPortName_cb _hidl_cb) override {
        return call(&IPlugableDeviceNotifier::getPortName, _hidl_cb);
    }
};

}  // namespace

ORVEX_HIDL_INTERFACE_SUPPORT(IPlugableDeviceNotifier,
                             "vendor.tevrin.hardware.dchwmanager@1.0::IPlugableDeviceNotifier",
                             BpHwPlugableDeviceNotifier)

}  // namespace V1_0
}  // namespace dchwmanager
}  // namespace hardware
}  // namespace tevrin
}  // namespace vendor
