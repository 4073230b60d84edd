// The process's connection to the beep service, shared by every beep module. Unsynchronised:
// callers drive beep modules from one thread at a time.
#pragma once

#include <vendor/tevrin/hardware/hwbeep/1.0/IHardwareBeepConfigs.h>

class HWBeepHal {
  public:
    using IHardwareBeepConfigs = vendor::tevrin::hardware::hwbeep::V1_0::IHardwareBeepConfigs;

    // The held service if it answers a ping; otherwise fetches it again, unless an earlier
    // fetch already came back empty (then the empty reference, until the state is cleared).
    static android::sp<IHardwareBeepConfigs> associate();

    static android::sp<IHardwareBeepConfigs> sp_IHardwareBeepConfigs;
    // Set once a fetch was made; cleared with the reference so the next associate fetches.
    static bool b_HWbeepInit;
};
