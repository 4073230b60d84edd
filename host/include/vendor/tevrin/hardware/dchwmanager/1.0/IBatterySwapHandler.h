// vendor.tevrin.hardware.dchwmanager@1.0::IBatterySwapHandler, in the shape of hidl-gen's output
// for Linux hosts.
//
// Battery swap mode of the hardware.
#ifndef HIDL_GENERATED_VENDOR_TEVRIN_HARDWARE_DCHWMANAGER_V1_0_IBATTERYSWAPHANDLER_H
#define HIDL_GENERATED_VENDOR_TEVRIN_HARDWARE_DCHWMANAGER_V1_0_IBATTERYSWAPHANDLER_H

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlSupport.h>
#include <hidl/MQDescriptor.h>
#include <hidl/Status.h>
#include <utils/Errors.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/types.h>

#include <functional>
#include <string>

namespace vendor {
namespace tevrin {
namespace hardware {
namespace dchwmanager {
namespace V1_0 {

struct IBatterySwapHandler : public ::android::hidl::base::V1_0::IBase {
    typedef ::android::hardware::details::i_tag _hidl_tag;

    // "vendor.tevrin.hardware.dchwmanager@1.0::IBatterySwapHandler"
    static const char* descriptor;

    virtual bool isRemote() const override { return false; }

    // Position 1
    virtual ::android::hardware::Return<bool> enterBatterySwap() = 0;

    // Position 2
    virtual ::android::hardware::Return<bool> exitBatterySwap() = 0;

    virtual ::android::hardware::Return<void> interfaceDescriptor(
        interfaceDescriptor_cb _hidl_cb) override;

    // The checked cast: null when `parent` is not this interface.
    static ::android::hardware::Return<::android::sp<IBatterySwapHandler>> castFrom(
        const ::android::sp<::android::hidl::base::V1_0::IBase>& parent, bool emitError = false);

    // The service of this type and instance, or null at once when none is registered.
    static ::android::sp<IBatterySwapHandler> tryGetService(
        const std::string& serviceName = "default", bool getStub = false);
    static ::android::sp<IBatterySwapHandler> tryGetService(const char serviceName[],
                                                            bool getStub = false) {
        return tryGetService(std::string(serviceName != nullptr ? serviceName : ""), getStub);
    }
    static ::android::sp<IBatterySwapHandler> tryGetService(bool getStub) {
        return tryGetService("default", getStub);
    }

    // As tryGetService, but waits while a service registered under that name before is
    // dead (restarting). With `getStub`, the implementation itself instead of a proxy.
    static ::android::sp<IBatterySwapHandler> getService(const std::string& serviceName = "default",
                                                         bool getStub = false);
    static ::android::sp<IBatterySwapHandler> getService(const char serviceName[],
                                                         bool getStub = false) {
        return getService(std::string(serviceName != nullptr ? serviceName : ""), getStub);
    }
    static ::android::sp<IBatterySwapHandler> getService(
        const ::android::hardware::hidl_string& serviceName, bool getStub = false) {
        return getService(std::string(serviceName.c_str()), getStub);
    }
    static ::android::sp<IBatterySwapHandler> getService(bool getStub) {
        return getService("default", getStub);
    }

    // Registers this object as the service of that instance name.
    __attribute__((warn_unused_result)) ::android::status_t registerAsService(
        const std::string& serviceName = "default");
};

}  // namespace V1_0
}  // namespace dchwmanager
}  // namespace hardware
}  // namespace tevrin
}  // namespace vendor

#endif  // HIDL_GENERATED_VENDOR_TEVRIN_HARDWARE_DCHWMANAGER_V1_0_IBATTERYSWAPHANDLER_H
