// vendor.tevrin.hardware.dchwmanager@1.0::ITrigger, in the shape of hidl-gen's output for Linux
// hosts.
//
// The hardware scan trigger. Key events travel through a fast message queue that the
// client creates: one record of three words (type, value, value) per event; the service
// wakes bit 1 of the queue's event flag after each record and waits for bit 2 before the next.
#ifndef HIDL_GENERATED_VENDOR_TEVRIN_HARDWARE_DCHWMANAGER_V1_0_ITRIGGER_H
#define HIDL_GENERATED_VENDOR_TEVRIN_HARDWARE_DCHWMANAGER_V1_0_ITRIGGER_H

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

struct ITrigger : public ::android::hidl::base::V1_0::IBase {
    typedef ::android::hardware::details::i_tag _hidl_tag;

    // "vendor.tevrin.hardware.dchwmanager@1.0::ITrigger"
    static const char* descriptor;

    virtual bool isRemote() const override { return false; }

    // Position 1: takes the trigger for this client.
    virtual ::android::hardware::Return<bool> acquireTrigger() = 0;

    // Position 2: gives the trigger back.
    virtual ::android::hardware::Return<bool> releaseTrigger() = 0;

    // Position 3
    virtual ::android::hardware::Return<bool> startTrigger() = 0;

    // Position 4
    virtual ::android::hardware::Return<bool> stopTrigger() = 0;

    // Position 5: both values are the service's to interpret.
    virtual ::android::hardware::Return<bool> simulateTrigger(uint32_t first, uint32_t second) = 0;

    // Position 6: the queue the key events are written to.
    virtual ::android::hardware::Return<bool> setKeyEventQueue(
        const ::android::hardware::MQDescriptorSync<uint32_t>& queue) = 0;

    // Position 7: an operation of the service that this platform does not call.
    virtual ::android::hardware::Return<void> reserved7() = 0;

    // Position 8
    virtual ::android::hardware::Return<int32_t> getPressedTrigger() = 0;

    // Position 9
    virtual ::android::hardware::Return<bool> resetPressedTrigger() = 0;

    virtual ::android::hardware::Return<void> interfaceDescriptor(
        interfaceDescriptor_cb _hidl_cb) override;

    // The checked cast: null when `parent` is not this interface.
    static ::android::hardware::Return<::android::sp<ITrigger>> castFrom(
        const ::android::sp<::android::hidl::base::V1_0::IBase>& parent, bool emitError = false);

    // The service of this type and instance, or null at once when none is registered.
    static ::android::sp<ITrigger> tryGetService(const std::string& serviceName = "default",
                                                 bool getStub = false);
    static ::android::sp<ITrigger> tryGetService(const char serviceName[], bool getStub = false) {
        return tryGetService(std::string(serviceName != nullptr ? serviceName : ""), getStub);
    }
    static ::android::sp<ITrigger> tryGetService(bool getStub) {
        return tryGetService("default", getStub);
    }

    // As tryGetService, but waits while a service registered under that name before is
    // dead (restarting). With `getStub`, the implementation itself instead of a proxy.
    static ::android::sp<ITrigger> getService(const std::string& serviceName = "default",
                                              bool getStub = false);
    static ::android::sp<ITrigger> getService(const char serviceName[], bool getStub = false) {
        return getService(std::string(serviceName != nullptr ? serviceName : ""), getStub);
    }
    static ::android::sp<ITrigger> getService(const ::android::hardware::hidl_string& serviceName,
                                              bool getStub = false) {
        return getService(std::string(serviceName.c_str()), getStub);
    }
    static ::android::sp<ITrigger> getService(bool getStub) {
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

#endif  // HIDL_GENERATED_VENDOR_TEVRIN_HARDWARE_DCHWMANAGER_V1_0_ITRIGGER_H
