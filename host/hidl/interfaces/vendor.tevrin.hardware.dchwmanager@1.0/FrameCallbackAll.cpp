// The proxy of vendor.tevrin.hardware.dchwmanager@1.0::IFrameCallback and its service helpers.

#include <vendor/tevrin/hardware/dchwmanager/1.0/IFrameCallback.h>

#include "Transport.h"

namespace vendor {
namespace tevrin {
namespace hardware {
namespace dchwmanager {
namespace V1_0 {

namespace {

class BpHwFrameCallback : public ::android::hardware::details::BpHw<IFrameCallback> {
  public:
    using BpHw::BpHw;

    ::android::hardware::Return<void> onFrameAvailable(
        const ::android::hardware::hidl_handle& frame) override {
        return call(&IFrameCallback::onFrameAvailable, frame);
    }
};

}  // namespace

ORVEX_HIDL_INTERFACE_SUPPORT(IFrameCallback,
                             "vendor.tevrin.hardware.dchwmanager@1.0::IFrameCallback",
                             BpHwFrameCallback)

}  // namespace V1_0
}  // namespace dchwmanager
}  // namespace hardware
}  // namespace tevrin
}  // namespace vendor
