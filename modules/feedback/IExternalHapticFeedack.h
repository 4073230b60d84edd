// Vibrates an external vibrator (one in a connected accessory) on a good decode, through the
// hardware manager's pluggable-device interface. Before each scan the module asks whether a
// vibrator is present and reports a missing one as a failed preparation.
//
// Every operation runs on the caller's thread. The connection is shared with the other haptic
// modules through ExternalHapticFeedackHal.
#pragma once

#include <stdint.h>

#include "ComponentIndex.h"
#include "ExternalHapticFeedackHal.h"
#include "IPlatformModule.h"
#include "PlatformModuleInterfaces.h"

template <AndroidVersion T>
class IExternalHapticFeedack : public IFeedbackModule {
  public:
    IExternalHapticFeedack();
    ~IExternalHapticFeedack() override;

    // Whether the pluggable-device interface can be obtained. Leaves no connection behind.
    bool IsSupported() override;
    char const* GetModuleName() override;
    // Asks for the vibrator again; false when it is absent or the module is not initialised.
    bool PrepareFeedbackForTrigger() override;
    // Vibrates when the last preparation found a vibrator; the service's answer is only logged.
    bool TriggerFeedback() override;
    bool ResetFeedback() override;
    void ReleaseResources() override;
    bool InitializeFeedback() override;
    bool ReinitializeFeedback() override;
    char const* GetParameter(char const* name) override;
    void SetParameter(char const* name, char const* value) override;
    bool CheckExternalHeadset() override;
    bool ReadSubmit() override;
    void SetCallback(ICallback* callback) override;

    // Registers the module's factory while the library loads.
    class _thread_register {
      public:
        _thread_register() {
            ComponentIndex::Instance()->AddPlatformModule(&Constructor<IExternalHapticFeedack<T>>,
                                                          PLATFORM_MODULE_EXTERNAL_HAPTIC,
                                                          "IExternalHapticFeedack");
        }
    };
    static _thread_register Obj;

  protected:
    bool b_externalVibratorPresent;
    int32_t i_vibrationDuration;
    android::sp<ExternalHapticFeedackHal::IPlugableDeviceNotifier> sp_PlugableDevice;
};
