// The proxy of vendor.tevrin.hardware.dchwmanager@1.0::IImager and its service helpers.

#include <vendor/tevrin/hardware/dchwmanager/1.0/IImager.h>

#include "Transport.h"

namespace vendor {
namespace tevrin {
namespace hardware {
namespace dchwmanager {
namespace V1_0 {

namespace {

class BpHwImager : public ::android::hardware::details::BpHw<IImager> {
  public:
    using BpHw::BpHw;

    ::android::hardware::Return<int8_t> openImager() override { return call(&IImager::openImager); }
    ::android::hardware::Return<int8_t> closeImager() override {
        return call(&IImager::closeImager);
    }
    ::android::hardware::Return<void> getEngineID(getEngineID_cb _hidl_cb) override {
        return call(&IImager::getEngineID, _hidl_cb);
    }
    ::android::hardware::Return<int8_t> getImagerInterfaceType() override {
        return call(&IImager::getImagerInterfaceType);
    }
    ::android::hardware::Return<
        ::android::sp<::vendor::tevrin::hardware::dchwmanager::V1_0::IImagerControl>>
    getImagerControl() override {
        return call(&IImager::getImagerControl);
    }
    ::android::hardware::Return<
        ::android::sp<::vendor::tevrin::hardware::dchwmanager::V1_0::IImagerAdapter>>
    getImagerAdapter() override {
        return call(&IImager::getImagerAdapter);
    }
};

}  // namespace

ORVEX_HIDL_INTERFACE_SUPPORT(IImager, "vendor.tevrin.hardware.dchwmanager@1.0::IImager", BpHwImager)

}  // namespace V1_0
}  // namespace dchwmanager
}  // namespace hardware
}  // namespace tevrin
}  // namespace vendor
