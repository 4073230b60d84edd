// The proxy of vendor.tevrin.hardware.dchwmanager@1.0::ISerialCallback and its service helpers.

#include <vendor/tevrin/hardware/dchwmanager/1.0/ISerialCallback.h>

#include "Transport.h"

namespace vendor {
namespace tevrin {
namespace hardware {
namespace dchwmanager {
namespace V1_0 {

namespace {

class BpHwSerialCallback : public ::android::hardware::details::BpHw<ISerialCallback> {
  public:
    using BpHw::BpHw;

    ::android::hardware::Return<void> onSerialData(
        const ::android::hardware::hidl_vec<uint8_t>& data) override {
        return call(&ISerialCallback::onSerialData, data);
    }
};

}  // namespace

ORVEX_HIDL_INTERFACE_SUPPORT(ISerialCallback,
                             "vendor.tevrin.hardware.dchwmanager@1.0::ISerialCallback",
                             BpHwSerialCallback)

}  // namespace V1_0
}  // namespace dchwmanager
}  // namespace hardware
}  // namespace tevrin
}  // namespace vendor
