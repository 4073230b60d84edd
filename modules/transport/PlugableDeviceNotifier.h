// The pluggable device notifier module: tells the caller when a pluggable scanner is attached
// or removed and on which port, through the hardware manager's IPlugableDeviceNotifier, and
// asks the service for the current port name.
//
// Threads: every operation runs on the caller's thread and the module takes no lock of its own;
// the instance belongs to one caller thread at a time. Connection changes arrive in
// PlugableNotifierCallback::OnConnectionChanged on a HIDL runtime thread and go straight to the
// caller's callback on that thread, until the release (or the destructor) returns: the callback
// object the service still holds then passes nothing on.
#pragma once

#include <hidl/HidlSupport.h>
#include <stdint.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IDCHWManager.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IPlugableDeviceNotifier.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IPlugableNotifierCallback.h>

#include <string>
#include <vector>

#include "CallGate.h"
#include "ComponentIndex.h"
#include "PlatformCallbacks.h"
#include "PlatformModuleInterfaces.h"

namespace vendor {
namespace tevrin {
namespace hardware {
namespace dchwmanager {
namespace implementation {

// The module's receiver of connection changes, registered with the service. Holds the caller's
// callback, which it does not own, until the module lets go of this object; the callback is set
// before the service can see this object.
class PlugableNotifierCallback : public V1_0::IPlugableNotifierCallback {
  public:
    PlugableNotifierCallback();
    ~PlugableNotifierCallback() override;

    // Keeps `callback` only when it is non-null; returns whether it was.
    bool setPlugableHALCallback(IPlugableHALCallBack* callback);
    // Changes that reach this object from now on go nowhere; returns once no call to the
    // caller's callback is running on another thread.
    void clearPlugableHALCallback();

    // On a HIDL runtime thread: passes the change to the caller's callback on this thread.
    android::hardware::Return<void> OnConnectionChanged(
        bool event, const android::hardware::hidl_string& portName, int8_t scannerType) override;

  private:
    CallGate<IPlugableHALCallBack> m_PlugableHALCallback;
};

}  // namespace implementation
}  // namespace dchwmanager
}  // namespace hardware
}  // namespace tevrin
}  // namespace vendor

template <AndroidVersion T>
class PlugableDeviceNotifier : public IPlugableDeviceModule {
  public:
    PlugableDeviceNotifier();
    ~PlugableDeviceNotifier() override;

    bool IsSupported() override;
    char const* GetModuleName() override;
    bool AcquirePlugableDeviceNotifier() override;
    bool ReleasePlugableDeviceNotifier() override;
    // Registers for changes of scanners of `type`, in place of an earlier registration; the
    // caller's callback must outlive the registration, which ends with the release.
    bool InitializeSSI(IPlugableHALCallBack* callback, ScannerType type) override;
    // The port the service reports, or "WrongPort" when there is none.
    std::string GetPortName() override;

    class _thread_register {
      public:
        _thread_register() {
            ComponentIndex::Instance()->AddPlatformModule(&Constructor<PlugableDeviceNotifier<T>>,
                                                          PLATFORM_MODULE_PLUGABLE_DEVICE,
                                                          "PlugableDeviceNotifier");
        }
    };
    static _thread_register Obj;

  private:
    using PlugableNotifierCallback =
        vendor::tevrin::hardware::dchwmanager::implementation::PlugableNotifierCallback;

    bool associatePlugableDeviceNotifier();
    void disassociate();
    void closeNotifierCallbacks();

    android::sp<vendor::tevrin::hardware::dchwmanager::V1_0::IPlugableDeviceNotifier>
        sp_PlugableHal;
    android::sp<vendor::tevrin::hardware::dchwmanager::V1_0::IDCHWManager> sp_IDCHWManager;
    android::sp<PlugableNotifierCallback> sp_PlugableNotifierCallback;
    // Every callback object given to the service that it may still call: each keeps reaching
    // the caller until an accepted registration replaces it, a release or the destructor.
    std::vector<android::sp<PlugableNotifierCallback>> m_GivenCallbacks;
    bool b_PlugableInit;
};
