// The proxy of vendor.tevrin.hardware.dchwmanager@1.0::ICameraVendorTagProvider and its service
// helpers.

#include <vendor/tevrin/hardware/dchwmanager/1.0/ICameraVendorTagProvider.h>

#include "Transport.h"

namespace vendor {
namespace tevrin {
namespace hardware {
namespace dchwmanager {
namespace V1_0 {

namespace {

class BpHwCameraVendorTagProvider
    : public ::android::hardware::details::BpHw<ICameraVendorTagProvider> {
  public:
    using BpHw::BpHw;

    ::android::hardware::Return<int32_t> getVendorTagId(
        const ::android::hardware::hidl_string& name) override {
        return call(&ICameraVendorTagProvider::getVendorTagId, name);
    }
};

}  // namespace

ORVEX_HIDL_INTERFACE_SUPPORT(ICameraVendorTagProvider,
                             "vendor.tevrin.hardware.dchwmanager@1.0::ICameraVendorTagProvider",
                             BpHwCameraVendorTagProvider)

}  // namespace V1_0
}  // namespace dchwmanager
}  // namespace hardware
}  // namespace tevrin
}  // namespace vendor
