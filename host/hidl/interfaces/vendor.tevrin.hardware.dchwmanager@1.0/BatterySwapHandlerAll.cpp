// The proxy of vendor.tevrin.hardware.dchwmanager@1.0::IBatterySwapHandler and its service helpers.

#include <vendor/tevrin/hardware/dchwmanager/1.0/IBatterySwapHandler.h>

#include "Transport.h"

namespace vendor {
namespace tevrin {
namespace hardware {
namespace dchwmanager {
namespace V1_0 {

namespace {

class BpHwBatterySwapHandler : public ::android::hardware::details::BpHw<IBatterySwapHandler> {
  public:
    using BpHw::BpHw;

    ::android::hardware::Return<bool> enterBatterySwap() override {
        return call(&IBatterySwapHandler::enterBatterySwap);
    }
    ::android::hardware::Return<bool> exitBatterySwap() override {
        return call(&IBatterySwapHandler::exitBatterySwap);
    }
};

}  // namespace

ORVEX_HIDL_INTERFACE_SUPPORT(IBatterySwapHandler,
                             "vendor.tevrin.hardware.dchwmanager@1.0::IBatterySwapHandler",
                             BpHwBatterySwapHandler)

}  // namespace V1_0
}  // namespace dchwmanager
}  // namespace hardware
}  // namespace tevrin
}  // namespace vendor
