// vendor.tevrin.hardware.dchwmanager@1.0::ISerialCallback, in the shape of hidl-gen's output for
// Linux hosts.
//
// Implemented by the client: received bytes, on a runtime thread of the client.
#ifndef HIDL_GENERATED_VENDOR_TEVRIN_HARDWARE_DCHWMANAGER_V1_0_ISERIALCALLBACK_H
#define HIDL_GENERATED_VENDOR_TEVRIN_HARDWARE_DCHWMANAGER_V1_0_ISERIALCALLBACK_H

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

struct ISerialCallback : public ::android::hidl::base::V1_0::IBase {
    typedef ::android::hardware::details::i_tag _hidl_tag;

    // "vendor.tevrin.hardware.dchwmanager@1.0::ISerialCallback"
    static const char* descriptor;

    virtual bool isRemote() const override { return false; }

    // Position 1
    virtual ::android::hardware::Return<void> onSerialData(
        const ::android::hardware::hidl_vec<uint8_t>& data) = 0;

    virtual ::android::hardware::Return<void> interfaceDescriptor(
        interfaceDescriptor_cb _hidl_cb) override;

    // The checked cast: null when `parent` is not this interface.
    static ::android::hardware::Return<::android::sp<ISerialCallback>> castFrom(
        const ::android::sp<::android::hidl::base::V1_0::IBase>& parent, bool emitError = false);

    // The service of this type and instance, or null at once when none is registered.
    static ::android::sp<ISerialCallback> tryGetService(const std::string& serviceName = "default",
                                                        bool getStub = false);
    static ::android::sp<ISerialCallback> tryGetService(const char serviceName[],
                                                        bool getStub = false) {
        return tryGetService(std::string(serviceName != nullptr ? serviceName : ""), getStub);
    }
    static ::android::sp<ISerialCallback> tryGetService(bool getStub) {
        return tryGetService("default", getStub);
    }

    // As tryGetService, but waits while a service registered under that name before is
    // dead (restarting). With `getStub`, the implementation itself instead of a proxy.
    static ::android::sp<ISerialCallback> getService(const std::string& serviceName = "default",
                                                     bool getStub = false);
    static ::android::sp<ISerialCallback> getService(const char serviceName[],
                                                     bool getStub = false) {
        return getService(std::string(serviceName != nullptr ? serviceName : ""), getStub);
    }
    static ::android::sp<ISerialCallback> getService(
        const ::android::hardware::hidl_string& serviceName, bool getStub = false) {
        return getService(std::string(serviceName.c_str()), getStub);
    }
    static ::android::sp<ISerialCallback> getService(bool getStub) {
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

#endif  // HIDL_GENERATED_VENDOR_TEVRIN_HARDWARE_DCHWMANAGER_V1_0_ISERIALCALLBACK_H
