// The proxy of vendor.tevrin.hardware.dchwmanager@1.0::IImagerControl and its service helpers.

#include <vendor/tevrin/hardware/dchwmanager/1.0/IImagerControl.h>

#include "Transport.h"

namespace vendor {
namespace tevrin {
namespace hardware {
namespace dchwmanager {
namespace V1_0 {

namespace {

class BpHwImagerControl : public ::android::hardware::details::BpHw<IImagerControl> {
  public:
    using BpHw::BpHw;

    ::android::hardware::Return<void> sendCommand(
        const ::android::hardware::hidl_vec<uint8_t>& command, uint32_t commandLength,
        uint32_t arg1, uint32_t arg2, uint32_t arg3, sendCommand_cb _hidl_cb) override {
        return call(&IImagerControl::sendCommand, command, commandLength, arg1, arg2, arg3,
                    _hidl_cb);
    }
    ::android::hardware::Return<int8_t> configureSettleCount(uint32_t settleCount) override {
        return call(&IImagerControl::configureSettleCount, settleCount);
    }
};

}  // namespace

ORVEX_HIDL_INTERFACE_SUPPORT(IImagerControl,
                             "vendor.tevrin.hardware.dchwmanager@1.0::IImagerControl",
                             BpHwImagerControl)

}  // namespace V1_0
}  // namespace dchwmanager
}  // namespace hardware
}  // namespace tevrin
}  // namespace vendor
