// android.hardware.light@2.0::ILight, in the shape of hidl-gen's output for Linux hosts.
//
// Android's lights service.
#ifndef HIDL_GENERATED_ANDROID_HARDWARE_LIGHT_V2_0_ILIGHT_H
#define HIDL_GENERATED_ANDROID_HARDWARE_LIGHT_V2_0_ILIGHT_H

#include <android/hardware/light/2.0/types.h>
#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlSupport.h>
#include <hidl/MQDescriptor.h>
#include <hidl/Status.h>
#include <utils/Errors.h>

#include <functional>
#include <string>

namespace android {
namespace hardware {
namespace light {
namespace V2_0 {

struct ILight : public ::android::hidl::base::V1_0::IBase {
    typedef ::android::hardware::details::i_tag _hidl_tag;

    // "android.hardware.light@2.0::ILight"
    static const char* descriptor;

    virtual bool isRemote() const override { return false; }

    // Position 1: sets one logical light.
    virtual ::android::hardware::Return<::android::hardware::light::V2_0::Status> setLight(
        ::android::hardware::light::V2_0::Type type,
        const ::android::hardware::light::V2_0::LightState& state) = 0;

    // Position 2: the lights the device has.
    using getSupportedTypes_cb = std::function<void(
        const ::android::hardware::hidl_vec<::android::hardware::light::V2_0::Type>& types)>;
    virtual ::android::hardware::Return<void> getSupportedTypes(getSupportedTypes_cb _hidl_cb) = 0;

    virtual ::android::hardware::Return<void> interfaceDescriptor(
        interfaceDescriptor_cb _hidl_cb) override;

    // The checked cast: null when `parent` is not this interface.
    static ::android::hardware::Return<::android::sp<ILight>> castFrom(
        const ::android::sp<::android::hidl::base::V1_0::IBase>& parent, bool emitError = false);

    // The service of this type and instance, or null at once when none is registered.
    static ::android::sp<ILight> tryGetService(const std::string& serviceName = "default",
                                               bool getStub = false);
    static ::android::sp<ILight> tryGetService(const char serviceName[], bool getStub = false) {
        return tryGetService(std::string(serviceName != nullptr ? serviceName : ""), getStub);
    }
    static ::android::sp<ILight> tryGetService(bool getStub) {
        return tryGetService("default", getStub);
    }

    // As tryGetService, but waits while a service registered under that name before is
    // dead (restarting). With `getStub`, the implementation itself instead of a proxy.
    static ::android::sp<ILight> getService(const std::string& serviceName = "default",
                                            bool getStub = false);
    static ::android::sp<ILight> getService(const char serviceName[], bool getStub = false) {
        return getService(std::string(serviceName != nullptr ? serviceName : ""), getStub);
    }
    static ::android::sp<ILight> getService(const ::android::hardware::hidl_string& serviceName,
                                            bool getStub = false) {
        return getService(std::string(serviceName.c_str()), getStub);
    }
    static ::android::sp<ILight> getService(bool getStub) { return getService("default", getStub); }

    // Registers this object as the service of that instance name.
    __attribute__((warn_unused_result)) ::android::status_t registerAsService(
        const std::string& serviceName = "default");
};

}  // namespace V2_0
}  // namespace light
}  // namespace hardware
}  // namespace android

#endif  // HIDL_GENERATED_ANDROID_HARDWARE_LIGHT_V2_0_ILIGHT_H
