// vendor.tevrin.hardware.dchwmanager@1.0::ICameraVendorTagProvider, in the shape of hidl-gen's
// output for Linux hosts.
//
// Identifiers of the camera stack's vendor tags, by name.
#ifndef HIDL_GENERATED_VENDOR_TEVRIN_HARDWARE_DCHWMANAGER_V1_0_ICAMERAVENDORTAGPROVIDER_H
#define HIDL_GENERATED_VENDOR_TEVRIN_HARDWARE_DCHWMANAGER_V1_0_ICAMERAVENDORTAGPROVIDER_H

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

struct ICameraVendorTagProvider : public ::android::hidl::base::V1_0::IBase {
    typedef ::android::hardware::details::i_tag _hidl_tag;

    // "vendor.tevrin.hardware.dchwmanager@1.0::ICameraVendorTagProvider"
    static const char* descriptor;

    virtual bool isRemote() const override { return false; }

    // Position 1
    virtual ::android::hardware::Return<int32_t> getVendorTagId(
        const ::android::hardware::hidl_string& name) = 0;

    virtual ::android::hardware::Return<void> interfaceDescriptor(
        interfaceDescriptor_cb _hidl_cb) override;

    // The checked cast: null when `parent` is not this interface.
    static ::android::hardware::Return<::android::sp<ICameraVendorTagProvider>> castFrom(
        const ::android::sp<::android::hidl::base::V1_0::IBase>& parent, bool emitError = false);

    // The service of this type and instance, or null at once when none is registered.
    static ::android::sp<ICameraVendorTagProvider> tryGetService(
        const std::string& serviceName = "default", bool getStub = false);
    static ::android::sp<ICameraVendorTagProvider> tryGetService(const char serviceName[],
                                                                 bool getStub = false) {
        return tryGetService(std::string(serviceName != nullptr ? serviceName : ""), getStub);
    }
    static ::android::sp<ICameraVendorTagProvider> tryGetService(bool getStub) {
        return tryGetService("default", getStub);
    }

    // As tryGetService, but waits while a service registered under that name before is
    // dead (restarting). With `getStub`, the implementation itself instead of a proxy.
    static ::android::sp<ICameraVendorTagProvider> getService(
        const std::string& serviceName = "default", bool getStub = false);
    static ::android::sp<ICameraVendorTagProvider> getService(const char serviceName[],
                                                              bool getStub = false) {
        return getService(std::string(serviceName != nullptr ? serviceName : ""), getStub);
    }
    static ::android::sp<ICameraVendorTagProvider> getService(
        const ::android::hardware::hidl_string& serviceName, bool getStub = false) {
        return getService(std::string(serviceName.c_str()), getStub);
    }
    static ::android::sp<ICameraVendorTagProvider> getService(bool getStub) {
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

#endif  // HIDL_GENERATED_VENDOR_TEVRIN_HARDWARE_DCHWMANAGER_V1_0_ICAMERAVENDORTAGPROVIDER_H
