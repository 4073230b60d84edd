// vendor.tevrin.hardware.dchwmanager@1.0::IDCHWManager, in the shape of hidl-gen's output for Linux
// hosts.
//
// The data-capture hardware manager: hands out the sub-interface of each piece of
// scanning hardware. Registered as instance "default".
#ifndef HIDL_GENERATED_VENDOR_TEVRIN_HARDWARE_DCHWMANAGER_V1_0_IDCHWMANAGER_H
#define HIDL_GENERATED_VENDOR_TEVRIN_HARDWARE_DCHWMANAGER_V1_0_IDCHWMANAGER_H

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlSupport.h>
#include <hidl/MQDescriptor.h>
#include <hidl/Status.h>
#include <utils/Errors.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IBatterySwapHandler.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/ICameraVendorTagProvider.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IImager.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IPlugableDeviceNotifier.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/ISerial.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/ITrigger.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/types.h>

#include <functional>
#include <string>

namespace vendor {
namespace tevrin {
namespace hardware {
namespace dchwmanager {
namespace V1_0 {

struct IDCHWManager : public ::android::hidl::base::V1_0::IBase {
    typedef ::android::hardware::details::i_tag _hidl_tag;

    // "vendor.tevrin.hardware.dchwmanager@1.0::IDCHWManager"
    static const char* descriptor;

    virtual bool isRemote() const override { return false; }

    // Position 1: the hardware scan trigger.
    virtual ::android::hardware::Return<
        ::android::sp<::vendor::tevrin::hardware::dchwmanager::V1_0::ITrigger>>
    getTriggerInterface() = 0;

    // Position 2: the imager.
    virtual ::android::hardware::Return<
        ::android::sp<::vendor::tevrin::hardware::dchwmanager::V1_0::IImager>>
    getImager() = 0;

    // Position 3: the serial transport to an attached scanner.
    virtual ::android::hardware::Return<
        ::android::sp<::vendor::tevrin::hardware::dchwmanager::V1_0::ISerial>>
    getSerialInterface() = 0;

    // Position 4: pluggable devices and external vibrators.
    virtual ::android::hardware::Return<
        ::android::sp<::vendor::tevrin::hardware::dchwmanager::V1_0::IPlugableDeviceNotifier>>
    getPlugableDeviceNotifier() = 0;

    // Position 5: battery swap mode.
    virtual ::android::hardware::Return<
        ::android::sp<::vendor::tevrin::hardware::dchwmanager::V1_0::IBatterySwapHandler>>
    getBatterySwapHandler() = 0;

    // Position 6: camera vendor tag identifiers.
    virtual ::android::hardware::Return<
        ::android::sp<::vendor::tevrin::hardware::dchwmanager::V1_0::ICameraVendorTagProvider>>
    getCameraVendorTagProvider() = 0;

    virtual ::android::hardware::Return<void> interfaceDescriptor(
        interfaceDescriptor_cb _hidl_cb) override;

    // The checked cast: null when `parent` is not this interface.
    static ::android::hardware::Return<::android::sp<IDCHWManager>> castFrom(
        const ::android::sp<::android::hidl::base::V1_0::IBase>& parent, bool emitError = false);

    // The service of this type and instance, or null at once when none is registered.
    static ::android::sp<IDCHWManager> tryGetService(const std::string& serviceName = "default",
                                                     bool getStub = false);
    static ::android::sp<IDCHWManager> tryGetService(const char serviceName[],
                                                     bool getStub = false) {
        return tryGetService(std::string(serviceName != nullptr ? serviceName : ""), getStub);
    }
    static ::android::sp<IDCHWManager> tryGetService(bool getStub) {
        return tryGetService("default", getStub);
    }

    // As tryGetService, but waits while a service registered under that name before is
    // dead (restarting). With `getStub`, the implementation itself instead of a proxy.
    static ::android::sp<IDCHWManager> getService(const std::string& serviceName = "default",
                                                  bool getStub = false);
    static ::android::sp<IDCHWManager> getService(const char serviceName[], bool getStub = false) {
        return getService(std::string(serviceName != nullptr ? serviceName : ""), getStub);
    }
    static ::android::sp<IDCHWManager> getService(
        const ::android::hardware::hidl_string& serviceName, bool getStub = false) {
        return getService(std::string(serviceName.c_str()), getStub);
    }
    static ::android::sp<IDCHWManager> getService(bool getStub) {
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

#endif  // HIDL_GENERATED_VENDOR_TEVRIN_HARDWARE_DCHWMANAGER_V1_0_IDCHWMANAGER_H
