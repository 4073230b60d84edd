// The proxy of vendor.tevrin.hardware.dchwmanager@1.0::ISerialFWUpdate and its service helpers.

#include <vendor/tevrin/hardware/dchwmanager/1.0/ISerialFWUpdate.h>

#include "Transport.h"

namespace vendor {
namespace tevrin {
namespace hardware {
namespace dchwmanager {
namespace V1_0 {

namespace {

class BpHwSerialFWUpdate : public ::android::hardware::details::BpHw<ISerialFWUpdate> {
  public:
    using BpHw::BpHw;

    ::android::hardware::Return<uint8_t> fwOpen(
        const ::android::hardware::hidl_string& portName) override {
        return call(&ISerialFWUpdate::fwOpen, portName);
    }
    ::android::hardware::Return<uint8_t> fwClose() override {
        return call(&ISerialFWUpdate::fwClose);
    }
    ::android::hardware::Return<uint8_t> fwIoctl(int32_t request, int32_t value,
                                                 uint8_t flag) override {
        return call(&ISerialFWUpdate::fwIoctl, request, value, flag);
    }
    ::android::hardware::Return<int32_t> fwPoll() override {
        return call(&ISerialFWUpdate::fwPoll);
    }
    ::android::hardware::Return<uint8_t> fwWrite(
        int32_t length, const ::android::hardware::hidl_vec<uint8_t>& data) override {
        return call(&ISerialFWUpdate::fwWrite, length, data);
    }
    ::android::hardware::Return<void> fwRead(fwRead_cb _hidl_cb) override {
        return call(&ISerialFWUpdate::fwRead, _hidl_cb);
    }
};

}  // namespace

ORVEX_HIDL_INTERFACE_SUPPORT(ISerialFWUpdate,
                             "vendor.tevrin.hardware.dchwmanager@1.0::ISerialFWUpdate",
                             BpHwSerialFWUpdate)

}  // namespace V1_0
}  // namespace dchwmanager
}  // namespace hardware
}  // namespace tevrin
}  // namespace vendor
