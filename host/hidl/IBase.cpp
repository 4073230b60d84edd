// What every local HIDL object answers for the base interface: it lives as long as this
// process, so it always answers ping and accepts any death link (which never fires).

#include <android/hidl/base/1.0/IBase.h>

namespace android {
namespace hidl {
namespace base {
namespace V1_0 {

const char* IBase::descriptor("android.hidl.base@1.0::IBase");

::android::hardware::Return<void> IBase::interfaceDescriptor(interfaceDescriptor_cb _hidl_cb) {
    _hidl_cb(descriptor);
    return ::android::hardware::Void();
}

::android::hardware::Return<void> IBase::ping() { return ::android::hardware::Void(); }

::android::hardware::Return<bool> IBase::linkToDeath(
    const ::android::sp<::android::hardware::hidl_death_recipient>& recipient, uint64_t) {
    return recipient != nullptr;
}

::android::hardware::Return<bool> IBase::unlinkToDeath(
    const ::android::sp<::android::hardware::hidl_death_recipient>& recipient) {
    return recipient != nullptr;
}

::android::hardware::Return<::android::sp<IBase>> IBase::castFrom(
    const ::android::sp<IBase>& parent, bool) {
    return parent;
}

}  // namespace V1_0
}  // namespace base
}  // namespace hidl
}  // namespace android
