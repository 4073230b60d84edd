// vendor.tevrin.hardware.dchwmanager@1.0::IImagerAdapter, in the shape of hidl-gen's output for
// Linux hosts.
//
// Frame acquisition from the imager; frames go to the registered IFrameCallback.
#ifndef HIDL_GENERATED_VENDOR_TEVRIN_HARDWARE_DCHWMANAGER_V1_0_IIMAGERADAPTER_H
#define HIDL_GENERATED_VENDOR_TEVRIN_HARDWARE_DCHWMANAGER_V1_0_IIMAGERADAPTER_H

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlSupport.h>
#include <hidl/MQDescriptor.h>
#include <hidl/Status.h>
#include <utils/Errors.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IFrameCallback.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/types.h>

#include <functional>
#include <string>

namespace vendor {
namespace tevrin {
namespace hardware {
namespace dchwmanager {
namespace V1_0 {

struct IImagerAdapter : public ::android::hidl::base::V1_0::IBase {
    typedef ::android::hardware::details::i_tag _hidl_tag;

    // "vendor.tevrin.hardware.dchwmanager@1.0::IImagerAdapter"
    static const char* descriptor;

    virtual bool isRemote() const override { return false; }

    // Position 1: -1 when the adapter library is missing.
    virtual ::android::hardware::Return<int8_t> Init(
        const ::android::hardware::hidl_string& adapterClass,
        const ::vendor::tevrin::hardware::dchwmanager::V1_0::PreviewSize& previewSize) = 0;

    // Position 2
    virtual ::android::hardware::Return<int8_t> Deinit() = 0;

    // Position 3: 0 on success.
    virtual ::android::hardware::Return<int8_t> StartStreaming() = 0;

    // Position 4: 0 on success.
    virtual ::android::hardware::Return<int8_t> StopStreaming() = 0;

    // Position 5
    virtual ::android::hardware::Return<int8_t> PrepAcquisition() = 0;

    // Position 6
    virtual ::android::hardware::Return<int8_t> PostAcquisition() = 0;

    // Position 7
    virtual ::android::hardware::Return<int8_t> HaltAcquisition(bool halt, int32_t flag) = 0;

    // Position 8: status -1 on failure.
    using GetParameter_cb =
        std::function<void(int32_t status, const ::android::hardware::hidl_string& value)>;
    virtual ::android::hardware::Return<void> GetParameter(
        const ::android::hardware::hidl_string& name, GetParameter_cb _hidl_cb) = 0;

    // Position 9
    virtual ::android::hardware::Return<int8_t> SetParameter(
        const ::android::hardware::hidl_string& name,
        const ::android::hardware::hidl_string& value) = 0;

    // Position 10
    virtual ::android::hardware::Return<int8_t> SetPreviewSize(
        const ::vendor::tevrin::hardware::dchwmanager::V1_0::PreviewSize& previewSize) = 0;

    // Position 11
    virtual ::android::hardware::Return<int8_t> RegisterFrameCallback(
        const ::android::sp<::vendor::tevrin::hardware::dchwmanager::V1_0::IFrameCallback>&
            callback) = 0;

    // Position 12
    virtual ::android::hardware::Return<bool> IsStreaming() = 0;

    virtual ::android::hardware::Return<void> interfaceDescriptor(
        interfaceDescriptor_cb _hidl_cb) override;

    // The checked cast: null when `parent` is not this interface.
    static ::android::hardware::Return<::android::sp<IImagerAdapter>> castFrom(
        const ::android::sp<::android::hidl::base::V1_0::IBase>& parent, bool emitError = false);

    // The service of this type and instance, or null at once when none is registered.
    static ::android::sp<IImagerAdapter> tryGetService(const std::string& serviceName = "default",
                                                       bool getStub = false);
    static ::android::sp<IImagerAdapter> tryGetService(const char serviceName[],
                                                       bool getStub = false) {
        return tryGetService(std::string(serviceName != nullptr ? serviceName : ""), getStub);
    }
    static ::android::sp<IImagerAdapter> tryGetService(bool getStub) {
        return tryGetService("default", getStub);
    }

    // As tryGetService, but waits while a service registered under that name before is
    // dead (restarting). With `getStub`, the implementation itself instead of a proxy.
    static ::android::sp<IImagerAdapter> getService(const std::string& serviceName = "default",
                                                    bool getStub = false);
    static ::android::sp<IImagerAdapter> getService(const char serviceName[],
                                                    bool getStub = false) {
        return getService(std::string(serviceName != nullptr ? serviceName : ""), getStub);
    }
    static ::android::sp<IImagerAdapter> getService(
        const ::android::hardware::hidl_string& serviceName, bool getStub = false) {
        return getService(std::string(serviceName.c_str()), getStub);
    }
    static ::android::sp<IImagerAdapter> getService(bool getStub) {
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

#endif  // HIDL_GENERATED_VENDOR_TEVRIN_HARDWARE_DCHWMANAGER_V1_0_IIMAGERADAPTER_H
