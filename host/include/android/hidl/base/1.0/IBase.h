// The root of every HIDL interface, in the shape of hidl-gen's output, for Linux hosts.
#pragma once

#include <hidl/HidlSupport.h>
#include <hidl/Status.h>
#include <stdint.h>
#include <utils/Errors.h>

#include <functional>
#include <string>

namespace android {
namespace hidl {
namespace base {
namespace V1_0 {

struct IBase : virtual public ::android::RefBase {
    typedef ::android::hardware::details::i_tag _hidl_tag;

    // "android.hidl.base@1.0::IBase"
    static const char* descriptor;

    // Whether this object is a proxy for an object that lives in another process.
    virtual bool isRemote() const { return false; }

    using interfaceDescriptor_cb =
        std::function<void(const ::android::hardware::hidl_string& descriptor)>;
    // Delivers the fully qualified name of the object's most derived interface.
    virtual ::android::hardware::Return<void> interfaceDescriptor(interfaceDescriptor_cb _hidl_cb);

    // Answers when the object's process is alive; fails with a transport error otherwise.
    virtual ::android::hardware::Return<void> ping();

    // Asks to be told, once and on a runtime thread, when the process hosting this object dies.
    // False when the process is already dead (or for a null recipient).
    virtual ::android::hardware::Return<bool> linkToDeath(
        const ::android::sp<::android::hardware::hidl_death_recipient>& recipient, uint64_t cookie);

    // Removes the most recent link of `recipient`; false when there was none.
    virtual ::android::hardware::Return<bool> unlinkToDeath(
        const ::android::sp<::android::hardware::hidl_death_recipient>& recipient);

    static ::android::hardware::Return<::android::sp<IBase>> castFrom(
        const ::android::sp<IBase>& parent, bool emitError = false);
};

}  // namespace V1_0
}  // namespace base
}  // namespace hidl
}  // namespace android
