// The scan beep: before each scan the volume is worked out (the device's scanner beep volume,
// or the user's Android stream volume rescaled to 0..10) and handed to the beep service with
// the tone settings; on a good decode the service starts the beep.
//
// Every operation runs on the caller's thread; one module is driven from one thread at a time.
// The service connection is shared with the other beep modules through HWBeepHal.
#pragma once

#include <stdint.h>

#include "AudioManager.h"
#include "ComponentIndex.h"
#include "HWBeepHal.h"
#include "IPlatformModule.h"
#include "PlatformModuleInterfaces.h"

template <AndroidVersion T>
class HWBeep : public IFeedbackModule {
  public:
    HWBeep();
    ~HWBeep() override;

    // Whether the beep service exists and says the beep is supported. Leaves no connection.
    bool IsSupported() override;
    char const* GetModuleName() override;
    // Configures the service for the next beep. Requires InitializeFeedback to have succeeded.
    bool PrepareFeedbackForTrigger() override;
    // Starts the beep, reconfiguring and starting once more if the service refused.
    bool TriggerFeedback() override;
    bool ResetFeedback() override;
    void ReleaseResources() override;
    bool InitializeFeedback() override;
    bool ReinitializeFeedback() override;
    char const* GetParameter(char const* name) override;
    void SetParameter(char const* name, char const* value) override;
    // Whether a wired, USB or Bluetooth headset is connected.
    bool CheckExternalHeadset() override;
    bool ReadSubmit() override;
    void SetCallback(ICallback* callback) override;

    // The Android stream whose volume drives the beep, from the "volume_slider_type" setting.
    int GetStreamType();

    // Registers the module's factory while the library loads.
    class _thread_register {
      public:
        _thread_register() {
            ComponentIndex::Instance()->AddPlatformModule(&Constructor<HWBeep<T>>,
                                                          PLATFORM_MODULE_BEEP, "HWBeep");
        }
    };
    static _thread_register Obj;

  protected:
    bool b_beepEnabled;
    bool b_ignore_ovc_volume;
    int32_t i_Frequency;
    int32_t i_Duration;
    int32_t i_Volume;
    int32_t i_Timeout;
    // Kept, never read: the timeout is sent in its place.
    int32_t i_TimeoutAfter;
    int32_t i_VolumeSliderType;
    // The last configuration as text; kept in the module only.
    char m_Parameters[256];
    AudioManager* m_pAudioManager;
    android::sp<HWBeepHal::IHardwareBeepConfigs> sp_HWBeep;
};
