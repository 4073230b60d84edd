// The proxy of vendor.tevrin.hardware.dchwmanager@1.0::ISerial and its service helpers.

#include <vendor/tevrin/hardware/dchwmanager/1.0/ISerial.h>

#include "Transport.h"

namespace vendor {
namespace tevrin {
namespace hardware {
namespace dchwmanager {
namespace V1_0 {

namespace {

class BpHwSerial : public ::android::hardware::details::BpHw<ISerial> {
  public:
    using BpHw::BpHw;

    ::android::hardware::Return<uint8_t> openPort(const ::android::hardware::hidl_string& portName,
                                                  int32_t baudRate, bool flowControl) override {
        return call(&ISerial::openPort, portName, baudRate, flowControl);
    }
    ::android::hardware::Return<uint8_t> closePort() override { return call(&ISerial::closePort); }
    ::android::hardware::Return<uint8_t> registerCallback(
        const ::android::sp<::vendor::tevrin::hardware::dchwmanager::V1_0::ISerialCallback>&
            callback) override {
        return call(&ISerial::registerCallback, callback);
    }
    ::android::hardware::Return<uint8_t> ioControl(int32_t code, int32_t value) override {
        return call(&ISerial::ioControl, code, value);
    }
    ::android::hardware::Return<uint8_t> writeData(
        const ::android::hardware::hidl_vec<uint8_t>& data) override {
        return call(&ISerial::writeData, data);
    }
    ::android::hardware::Return<
        ::android::sp<::vendor::tevrin::hardware::dchwmanager::V1_0::ISerialFWUpdate>>
    getSerialFWInterface() override {
        return call(&ISerial::getSerialFWInterface);
    }
};

}  // namespace

ORVEX_HIDL_INTERFACE_SUPPORT(ISerial, "vendor.tevrin.hardware.dchwmanager@1.0::ISerial", BpHwSerial)

}  // namespace V1_0
}  // namespace dchwmanager
}  // namespace hardware
}  // namespace tevrin
}  // namespace vendor
