// The proxy of vendor.tevrin.hardware.dchwmanager@1.0::ITrigger and its service helpers.

#include <vendor/tevrin/hardware/dchwmanager/1.0/ITrigger.h>

#include "Transport.h"

namespace vendor {
namespace tevrin {
namespace hardware {
namespace dchwmanager {
namespace V1_0 {

namespace {

class BpHwTrigger : public ::android::hardware::details::BpHw<ITrigger> {
  public:
    using BpHw::BpHw;

    ::android::hardware::Return<bool> acquireTrigger() override {
        return call(&ITrigger::acquireTrigger);
    }
    ::android::hardware::Return<bool> releaseTrigger() override {
        return call(&ITrigger::releaseTrigger);
    }
    ::android::hardware::Return<bool> startTrigger() override {
        return call(&ITrigger::startTrigger);
    }
    ::android::hardware::Return<bool> stopTrigger() override {
        return call(&ITrigger::stopTrigger);
    }
    ::android::hardware::Return<bool> simulateTrigger(uint32_t first, uint32_t second) override {
        return call(&ITrigger::simulateTrigger, first, second);
    }
    ::android::hardware::Return<bool> setKeyEventQueue(
        const ::android::hardware::MQDescriptorSync<uint32_t>& queue) override {
        return call(&ITrigger::setKeyEventQueue, queue);
    }
    ::android::hardware::Return<void> reserved7() override { return call(&ITrigger::reserved7); }
    ::android::hardware::Return<int32_t> getPressedTrigger() override {
        return call(&ITrigger::getPressedTrigger);
    }
    ::android::hardware::Return<bool> resetPressedTrigger() override {
        return call(&ITrigger::resetPressedTrigger);
    }
};

}  // namespace

ORVEX_HIDL_INTERFACE_SUPPORT(ITrigger, "vendor.tevrin.hardware.dchwmanager@1.0::ITrigger",
                             BpHwTrigger)

}  // namespace V1_0
}  // namespace dchwmanager
}  // namespace hardware
}  // namespace tevrin
}  // namespace vendor
