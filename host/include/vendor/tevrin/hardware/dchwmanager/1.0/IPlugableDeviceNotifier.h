// vendor.tevrin.hardware.dchwmanager@1.0::IPlugableDeviceNotifier, in the shape of hidl-gen's
// output for Linux hosts.
//
// Pluggable scanners and external vibrators.
#ifndef HIDL_GENERATED_VENDOR_TEVRIN_HARDWARE_DCHWMANAGER_V1_0_IPLUGABLEDEVICENOTIFIER_H
#define HIDL_GENERATED_VENDOR_TEVRIN_HARDWARE_DCHWMANAGER_V1_0_IPLUGABLEDEVICENOTIFIER_H

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlSupport.h>
#include <hidl/MQDescriptor.h>
#include <hidl/Status.h>
#include <utils/Errors.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IPlugableNotifierCallback.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/types.h>

#include <functional>
#include <string>

namespace vendor {
namespace tevrin {
namespace hardware {
namespace dchwmanager {
namespace V1_0 {

struct IPlugableDeviceNotifier : public ::android::hidl::base::V1_0::IBase {
    typedef ::android::hardware::details::i_tag _hidl_tag;

    // "vendor.tevrin.hardware.dchwmanager@1.0::IPlugableDeviceNotifier"
    static const char* descriptor;

    virtual bool isRemote() const override { return false; }

    // Position 1: non-zero on success.
    virtual ::android::hardware::Return<uint8_t> registerNotifierCallback(
        const ::android::sp<
            ::vendor::tevrin::hardware::dchwmanager::V1_0::IPlugableNotifierCallback>& callback,
        int32_t scannerType) = 0;

    // Position 2
    virtual ::android::hardware::Return<bool> isExternalVibratorPresent() = 0;

    // Position 3
    virtual ::android::hardware::Return<int32_t> vibrateExternal(int32_t duration) = 0;

    // Position 4: status -1 when no port is valid.
    using getPortName_cb =
        std::function<void(int8_t status, const ::android::hardware::hidl_string& portName)>;
    virtual ::android::hardware::Return<void> getPortName(getPortName_cb _hidl_cb) = 0;

    virtual ::android::hardware::Return<void> interfaceDescriptor(
        interfaceDescriptor_cb _hidl_cb) override;

    // The checked cast: null when `parent` is not this interface.
    static ::android::hardware::Return<::android::sp<IPlugableDeviceNotifier>> castFrom(
        const ::android::sp<::android::hidl::base::V1_0::IBase>& parent, bool emitError = false);

    // The service of this type and instance, or null at once when none is registered.
    static ::android::sp<IPlugableDeviceNotifier> tryGetService(
        const std::string& serviceName = "default", bool getStub = false);
    static ::android::sp<IPlugableDeviceNotifier> tryGetService(const char serviceName[],
                                                                bool getStub = false) {
        return tryGetService(std::string(serviceName != nullptr ? serviceName : ""), getStub);
    }
    static ::android::sp<IPlugableDeviceNotifier> tryGetService(bool getStub) {
        return tryGetService("default", getStub);
    }

    // As tryGetService, but waits while a service registered under that name before is
    // dead (restarting). With `getStub`, the implementation itself instead of a proxy.
    static ::android::sp<IPlugableDeviceNotifier> getService(
        const std::string& serviceName = "default", bool getStub = false);
    static ::android::sp<IPlugableDeviceNotifier> getService(const char serviceName[],
                                                             bool getStub = false) {
        return getService(std::string(serviceName != nullptr ? serviceName : ""), getStub);
    }
    static ::android::sp<IPlugableDeviceNotifier> getService(
        const ::android::hardware::hidl_string& serviceName, bool getStub = false) {
        return getService(std::string(serviceName.c_str()), getStub);
    }
    static ::android::sp<IPlugableDeviceNotifier> getService(bool getStub) {
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

#endif  // HIDL_GENERATED_VENDOR_TEVRIN_HARDWARE_DCHWMANAGER_V1_0_IPLUGABLEDEVICENOTIFIER_H
