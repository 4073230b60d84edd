// vendor.tevrin.hardware.hwbeep@1.0::IHardwareBeepConfigs, in the shape of hidl-gen's output for
// Linux hosts.
//
// The scan beep: a tone of a configured frequency value, duration, volume and timeout.
// Registered as instance "default".
#ifndef HIDL_GENERATED_VENDOR_TEVRIN_HARDWARE_HWBEEP_V1_0_IHARDWAREBEEPCONFIGS_H
#define HIDL_GENERATED_VENDOR_TEVRIN_HARDWARE_HWBEEP_V1_0_IHARDWAREBEEPCONFIGS_H

#include <android/hidl/base/1.0/IBase.h>
#include <hidl/HidlSupport.h>
#include <hidl/MQDescriptor.h>
#include <hidl/Status.h>
#include <utils/Errors.h>

#include <functional>
#include <string>

namespace vendor {
namespace tevrin {
namespace hardware {
namespace hwbeep {
namespace V1_0 {

struct IHardwareBeepConfigs : public ::android::hidl::base::V1_0::IBase {
    typedef ::android::hardware::details::i_tag _hidl_tag;

    // "vendor.tevrin.hardware.hwbeep@1.0::IHardwareBeepConfigs"
    static const char* descriptor;

    virtual bool isRemote() const override { return false; }

    // Position 1: greater than 0 when the beep started.
    virtual ::android::hardware::Return<int32_t> startBeep() = 0;

    // Position 2: an operation of the service that this platform does not call.
    virtual ::android::hardware::Return<void> reserved2() = 0;

    // Position 3: an operation of the service that this platform does not call.
    virtual ::android::hardware::Return<void> reserved3() = 0;

    // Position 4: an operation of the service that this platform does not call.
    virtual ::android::hardware::Return<void> reserved4() = 0;

    // Position 5: an operation of the service that this platform does not call.
    virtual ::android::hardware::Return<void> reserved5() = 0;

    // Position 6: an operation of the service that this platform does not call.
    virtual ::android::hardware::Return<void> reserved6() = 0;

    // Position 7: an operation of the service that this platform does not call.
    virtual ::android::hardware::Return<void> reserved7() = 0;

    // Position 8: an operation of the service that this platform does not call.
    virtual ::android::hardware::Return<void> reserved8() = 0;

    // Position 9
    virtual ::android::hardware::Return<void> setBeepConfig(int32_t frequency, int32_t duration,
                                                            int32_t volume, int32_t timeout,
                                                            int32_t timeoutAfter) = 0;

    // Position 10
    virtual ::android::hardware::Return<bool> isHWBeepSupported() = 0;

    virtual ::android::hardware::Return<void> interfaceDescriptor(
        interfaceDescriptor_cb _hidl_cb) override;

    // The checked cast: null when `parent` is not this interface.
    static ::android::hardware::Return<::android::sp<IHardwareBeepConfigs>> castFrom(
        const ::android::sp<::android::hidl::base::V1_0::IBase>& parent, bool emitError = false);

    // The service of this type and instance, or null at once when none is registered.
    static ::android::sp<IHardwareBeepConfigs> tryGetService(
        const std::string& serviceName = "default", bool getStub = false);
    static ::android::sp<IHardwareBeepConfigs> tryGetService(const char serviceName[],
                                                             bool getStub = false) {
        return tryGetService(std::string(serviceName != nullptr ? serviceName : ""), getStub);
    }
    static ::android::sp<IHardwareBeepConfigs> tryGetService(bool getStub) {
        return tryGetService("default", getStub);
    }

    // As tryGetService, but waits while a service registered under that name before is
    // dead (restarting). With `getStub`, the implementation itself instead of a proxy.
    static ::android::sp<IHardwareBeepConfigs> getService(
        const std::string& serviceName = "default", bool getStub = false);
    static ::android::sp<IHardwareBeepConfigs> getService(const char serviceName[],
                                                          bool getStub = false) {
        return getService(std::string(serviceName != nullptr ? serviceName : ""), getStub);
    }
    static ::android::sp<IHardwareBeepConfigs> getService(
        const ::android::hardware::hidl_string& serviceName, bool getStub = false) {
        return getService(std::string(serviceName.c_str()), getStub);
    }
    static ::android::sp<IHardwareBeepConfigs> getService(bool getStub) {
        return getService("default", getStub);
    }

    // Registers this object as the service of that instance name.
    __attribute__((warn_unused_result)) ::android::status_t registerAsService(
        const std::string& serviceName = "default");
};

}  // namespace V1_0
}  // namespace hwbeep
}  // namespace hardware
}  // namespace tevrin
}  // namespace vendor

#endif  // HIDL_GENERATED_VENDOR_TEVRIN_HARDWARE_HWBEEP_V1_0_IHARDWAREBEEPCONFIGS_H
