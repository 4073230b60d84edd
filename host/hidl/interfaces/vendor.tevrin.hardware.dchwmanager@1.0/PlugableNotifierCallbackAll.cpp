// The proxy of vendor.tevrin.hardware.dchwmanager@1.0::IPlugableNotifierCallback and its service
// helpers.

#include <vendor/tevrin/hardware/dchwmanager/1.0/IPlugableNotifierCallback.h>

#include "Transport.h"

namespace vendor {
namespace tevrin {
namespace hardware {
namespace dchwmanager {
namespace V1_0 {

namespace {

class BpHwPlugableNotifierCallback
    : public ::android::hardware::details::BpHw<IPlugableNotifierCallback> {
  public:
    using BpHw::BpHw;

    ::android::hardware::Return<void> OnConnectionChanged(
        bool event, const ::android::hardware::hidl_string& portName, int8_t scannerType) override {
        return call(&IPlugableNotifierCallback::OnConnectionChanged, event, portName, scannerType);
    }
};

}  // namespace

ORVEX_HIDL_INTERFACE_SUPPORT(IPlugableNotifierCallback,
                             "vendor.tevrin.hardware.dchwmanager@1.0::IPlugableNotifierCallback",
                             BpHwPlugableNotifierCallback)

}  // namespace V1_0
}  // namespace dchwmanager
}  // namespace hardware
}  // namespace tevrin
}  // namespace vendor
