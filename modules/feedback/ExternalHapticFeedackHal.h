// The process's connection to the hardware manager's pluggable-device interface, shared by
// every haptic module. Unsynchronised: callers drive one module from one thread at a time.
#pragma once

#include <vendor/tevrin/hardware/dchwmanager/1.0/IDCHWManager.h>
#include <vendor/tevrin/hardware/dchwmanager/1.0/IPlugableDeviceNotifier.h>

class ExternalHapticFeedackHal {
  public:
    using IDCHWManager = vendor::tevrin::hardware::dchwmanager::V1_0::IDCHWManager;
    using IPlugableDeviceNotifier =
        vendor::tevrin::hardware::dchwmanager::V1_0::IPlugableDeviceNotifier;

    // The held pluggable interface while the manager answers a ping; otherwise fetches the
    // manager and its pluggable interface again. A failed fetch keeps the old pluggable
    // reference.
    static android::sp<IPlugableDeviceNotifier> associate();

    static android::sp<IDCHWManager> sp_IDCHWManager;
    static android::sp<IPlugableDeviceNotifier> sp_PlugableHal;
    // Set once the pluggable interface was obtained.
    static bool b_ExternalHapticFeedackInit;
};
